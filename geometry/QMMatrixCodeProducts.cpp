#include "geometry/QMMatrixCode.h"
#include "geometry/QMMatrixCodeDetail.h"

using namespace qm_detail;

// Double forms of the left and right products and of the vector products, the
// right scale, and the rotation products (all forms). The rotation is built in
// double and the product summed in double, rounded once.

namespace {

template <class T>
void multLeftByRotateT(T* m, double x, double y, double z, double angle) {
    double r[16];
    axisRotation(r, x, y, z, angle);
    mult4(m, r, m);
}

template <class T>
void multRightByRotateT(T* m, double x, double y, double z, double angle) {
    double r[16];
    axisRotation(r, x, y, z, angle);
    mult4(m, m, r);
}

template <class T>
void multRightByScaleT(T* m, const T s[3]) {
    const T sc[3] = {s[0], s[1], s[2]};
    for (int c = 0; c < 3; ++c)
        for (int k = 0; k < 4; ++k) m[4 * c + k] *= sc[c];
}

}  // namespace

void QMMatrixCode::multLeftByTranslate(double* m, const double t[3]) {
    const double tx = t[0], ty = t[1], tz = t[2];
    m[12] += tx;
    m[13] += ty;
    m[14] += tz;
}

void QMMatrixCode::multRightByTranslate(double* m, const double t[3]) {
    const double tx = t[0], ty = t[1], tz = t[2];
    double column[3];
    for (int r = 0; r < 3; ++r) column[r] = m[r] * tx + m[4 + r] * ty + m[8 + r] * tz;
    for (int r = 0; r < 3; ++r) m[12 + r] += column[r];
}

void QMMatrixCode::multLeftByScale(double* m, const double s[3]) {
    const double sr[3] = {s[0], s[1], s[2]};
    for (int r = 0; r < 3; ++r) {
        m[r] *= sr[r];
        m[4 + r] *= sr[r];
        m[8 + r] *= sr[r];
        m[12 + r] *= sr[r];
    }
}

void QMMatrixCode::multRightByScale(float* m, const float s[3]) { multRightByScaleT(m, s); }
void QMMatrixCode::multRightByScale(double* m, const double s[3]) { multRightByScaleT(m, s); }

void QMMatrixCode::multLeftByRotate(float* m, const float axis[3], float angle) {
    multLeftByRotateT(m, axis[0], axis[1], axis[2], angle);
}
void QMMatrixCode::multLeftByRotate(double* m, const double axis[3], double angle) {
    multLeftByRotateT(m, axis[0], axis[1], axis[2], angle);
}
void QMMatrixCode::multRightByRotate(float* m, const float axis[3], float angle) {
    multRightByRotateT(m, axis[0], axis[1], axis[2], angle);
}
void QMMatrixCode::multRightByRotate(double* m, const double axis[3], double angle) {
    multRightByRotateT(m, axis[0], axis[1], axis[2], angle);
}

void QMMatrixCode::multLeftByRotateX(float* m, float angle) { multLeftByRotateT(m, 1, 0, 0, angle); }
void QMMatrixCode::multLeftByRotateX(double* m, double angle) { multLeftByRotateT(m, 1, 0, 0, angle); }
void QMMatrixCode::multLeftByRotateY(float* m, float angle) { multLeftByRotateT(m, 0, 1, 0, angle); }
void QMMatrixCode::multLeftByRotateY(double* m, double angle) { multLeftByRotateT(m, 0, 1, 0, angle); }
void QMMatrixCode::multLeftByRotateZ(float* m, float angle) { multLeftByRotateT(m, 0, 0, 1, angle); }
void QMMatrixCode::multLeftByRotateZ(double* m, double angle) { multLeftByRotateT(m, 0, 0, 1, angle); }
void QMMatrixCode::multRightByRotateX(float* m, float angle) { multRightByRotateT(m, 1, 0, 0, angle); }
void QMMatrixCode::multRightByRotateX(double* m, double angle) { multRightByRotateT(m, 1, 0, 0, angle); }
void QMMatrixCode::multRightByRotateY(float* m, float angle) { multRightByRotateT(m, 0, 1, 0, angle); }
void QMMatrixCode::multRightByRotateY(double* m, double angle) { multRightByRotateT(m, 0, 1, 0, angle); }
void QMMatrixCode::multRightByRotateZ(float* m, float angle) { multRightByRotateT(m, 0, 0, 1, angle); }
void QMMatrixCode::multRightByRotateZ(double* m, double angle) { multRightByRotateT(m, 0, 0, 1, angle); }

// ------------------------------------------------------------ vector products

void QMMatrixCode::multMatrixVec3d(double result[3], const double* m, const double v[3]) {
    const double x = v[0], y = v[1], z = v[2];
    double acc[4];
    for (int r = 0; r < 4; ++r) acc[r] = m[r] * x + m[4 + r] * y + m[8 + r] * z + m[12 + r];
    if (acc[3] == 0.0) {
        result[0] = result[1] = result[2] = 0.0;
        return;
    }
    for (int r = 0; r < 3; ++r) result[r] = acc[r] / acc[3];
}

void QMMatrixCode::multMatrixVec4d(double result[4], const double* m, const double v[4]) {
    const double x = v[0], y = v[1], z = v[2], w = v[3];
    double out[4];
    for (int r = 0; r < 4; ++r) out[r] = m[r] * x + m[4 + r] * y + m[8 + r] * z + m[12 + r] * w;
    for (int r = 0; r < 4; ++r) result[r] = out[r];
}

void QMMatrixCode::multAffineMatrixVec3d(double result[3], const double* m, const double v[3]) {
    const double x = v[0], y = v[1], z = v[2];
    double out[3];
    for (int r = 0; r < 3; ++r) out[r] = m[r] * x + m[4 + r] * y + m[8 + r] * z + m[12 + r];
    for (int r = 0; r < 3; ++r) result[r] = out[r];
}

void QMMatrixCode::multAffineMatrixVec3dAsDir(double result[3], const double* m, const double v[3]) {
    const double x = v[0], y = v[1], z = v[2];
    double out[3];
    for (int r = 0; r < 3; ++r) out[r] = m[r] * x + m[4 + r] * y + m[8 + r] * z;
    for (int r = 0; r < 3; ++r) result[r] = out[r];
}
