#include "geometry/QMMatrixCode.h"
#include "geometry/QMMatrixCodeDetail.h"

#include "geometry/PortableMath.h"

#include <cmath>

using namespace qm_detail;

namespace {

template <class T>
void addT(T* r, const T* a, const T* b) {
    for (int i = 0; i < 4; ++i) r[i] = a[i] + b[i];
}
template <class T>
void subT(T* r, const T* a, const T* b) {
    for (int i = 0; i < 4; ++i) r[i] = a[i] - b[i];
}

void hamilton(double* r, const double* a, const double* b) {
    const double w = a[0] * b[0] - a[1] * b[1] - a[2] * b[2] - a[3] * b[3];
    const double x = a[0] * b[1] + a[1] * b[0] + a[2] * b[3] - a[3] * b[2];
    const double y = a[0] * b[2] + a[2] * b[0] + a[3] * b[1] - a[1] * b[3];
    const double z = a[0] * b[3] + a[3] * b[0] + a[1] * b[2] - a[2] * b[1];
    r[0] = w;
    r[1] = x;
    r[2] = y;
    r[3] = z;
}

template <class T>
void load(double* d, const T* v, int n) {
    for (int i = 0; i < n; ++i) d[i] = v[i];
}

template <class T>
void multT(T* r, const T* a, const T* b) {
    double da[4], db[4], dr[4];
    load(da, a, 4);
    load(db, b, 4);
    hamilton(dr, da, db);
    store(r, dr, 4);
}

void inverseU(double* r, const double* q) {
    const double n = q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3];
    r[0] = q[0] / n;
    r[1] = -q[1] / n;
    r[2] = -q[2] / n;
    r[3] = -q[3] / n;
}

template <class T>
void divUT(T* r, const T* a, const T* b) {
    double da[4], db[4], ib[4], dr[4];
    load(da, a, 4);
    load(db, b, 4);
    inverseU(ib, db);
    hamilton(dr, da, ib);
    store(r, dr, 4);
}

template <class T>
void conjugateT(T* r, const T* q) {
    r[0] = q[0];
    r[1] = -q[1];
    r[2] = -q[2];
    r[3] = -q[3];
}

template <class T>
void applyT(T* r, const T* q, const T* v) {
    double dq[4], p[4] = {0.0, (double)v[0], (double)v[1], (double)v[2]}, c[4], t[4], o[4];
    load(dq, q, 4);
    c[0] = dq[0];
    c[1] = -dq[1];
    c[2] = -dq[2];
    c[3] = -dq[3];
    hamilton(t, dq, p);
    hamilton(o, t, c);
    store(r, o + 1, 3);
}

template <class T>
void inverseUT(T* r, const T* q) {
    double dq[4], dr[4];
    load(dq, q, 4);
    inverseU(dr, dq);
    store(r, dr, 4);
}

void axisQuat(double* q, double x, double y, double z, double angle) {
    const double h = angle * 0.5;
    const double s = PortableMath::sin(h);
    q[0] = PortableMath::cos(h);
    q[1] = s * x;
    q[2] = s * y;
    q[3] = s * z;
}

template <class T>
void axisT(T* q, const T* axis, T angle) {
    double d[4];
    axisQuat(d, axis[0], axis[1], axis[2], angle);
    store(q, d, 4);
}

template <class T>
void axisUT(T* q, const T* axis, T angle) {
    const double x = axis[0], y = axis[1], z = axis[2];
    const double len = std::sqrt(x * x + y * y + z * z);
    double d[4] = {1.0, 0.0, 0.0, 0.0};
    if (len >= 1e-7) axisQuat(d, x / len, y / len, z / len, angle);
    store(q, d, 4);
}

template <class T>
void toAxisT(T* axis, T& angle, const T* q) {
    const double w = q[0], x = q[1], y = q[2], z = q[3];
    const double v = std::sqrt(x * x + y * y + z * z);
    if (v == 0.0) {
        axis[0] = (T)1;
        axis[1] = axis[2] = (T)0;
        angle = (T)0;
        return;
    }
    angle = (T)(2.0 * PortableMath::atan2(v, w));
    axis[0] = (T)(x / v);
    axis[1] = (T)(y / v);
    axis[2] = (T)(z / v);
}

template <class T>
void eulerQuatT(T* q, const T* e) {
    double qx[4], qy[4], qz[4], t[4], r[4];
    axisQuat(qx, 1, 0, 0, e[0]);
    axisQuat(qy, 0, 1, 0, e[1]);
    axisQuat(qz, 0, 0, 1, e[2]);
    hamilton(t, qz, qy);
    hamilton(r, t, qx);
    store(q, r, 4);
}

template <class T>
void rotMatrixQuatT(T* q, const T* m) {
    const double w = std::sqrt(((double)m[0] + (double)m[5] + (double)m[10] + 1.0) * 0.5);
    double d[4];
    if (w != 0.0) {
        d[0] = w;
        d[1] = ((double)m[6] - (double)m[9]) * 0.5 / w;
        d[2] = ((double)m[8] - (double)m[2]) * 0.5 / w;
        d[3] = ((double)m[1] - (double)m[4]) * 0.5 / w;
    } else {
        // Half turn: the unit quaternion (0, x, y, z) with the component of
        // the largest diagonal element found first, the others from the
        // symmetric off-diagonal sums m(i, j) + m(j, i) = 4 q_i q_j.
        d[0] = 0.0;
        if (m[10] > m[5]) {
            const double z = std::sqrt(((double)m[10] - (double)m[0] - (double)m[5] + 1.0) * 0.5);
            d[3] = z;
            d[1] = ((double)m[8] + (double)m[2]) * 0.5 / z;
            d[2] = ((double)m[9] + (double)m[6]) * 0.5 / z;
        } else if (m[5] <= m[0]) {
            const double x = std::sqrt(((double)m[0] - (double)m[5] - (double)m[10] + 1.0) * 0.5);
            d[1] = x;
            d[2] = ((double)m[4] + (double)m[1]) * 0.5 / x;
            d[3] = ((double)m[8] + (double)m[2]) * 0.5 / x;
        } else {
            const double y = std::sqrt(((double)m[5] - (double)m[0] - (double)m[10] + 1.0) * 0.5);
            d[2] = y;
            d[1] = ((double)m[4] + (double)m[1]) * 0.5 / y;
            d[3] = ((double)m[9] + (double)m[6]) * 0.5 / y;
        }
        // (m_ii - m_jj - m_kk + 1) / 2 = 2 q_i^2 for a half turn: rescale to unit.
        const double k = 1.0 / std::sqrt(2.0);
        d[1] *= k;
        d[2] *= k;
        d[3] *= k;
    }
    store(q, d, 4);
}

template <class T>
void lerpT(T* q, const T* a, const T* b, T t) {
    const T d = a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
    const double s = 1.0 - (double)t;
    const double u = (d >= (T)0) ? (double)t : -(double)t;
    double r[4];
    for (int i = 0; i < 4; ++i) r[i] = s * (double)a[i] + u * (double)b[i];
    store(q, r, 4);
}

template <class T>
void slerpT(T* q, const T* a, const T* b, T t) {
    const T d = a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
    double r[4];
    if (d >= (T)0) {
        const double th = PortableMath::acos((double)d);
        const double sa = PortableMath::sin((1.0 - (double)t) * th);
        const double sb = PortableMath::sin((double)t * th);
        for (int i = 0; i < 4; ++i) r[i] = sa * (double)a[i] + sb * (double)b[i];
    } else {
        const double th = PortableMath::acos(-(double)d);
        const double sa = PortableMath::sin((1.0 - (double)t) * th);
        const double sb = PortableMath::sin((double)t * th);
        for (int i = 0; i < 3; ++i) r[i] = sa * (double)a[i] - sb * (double)b[i];
        r[3] = sa * (double)a[3] + sb * (double)b[3];
    }
    store(q, r, 4);
}

}  // namespace

void QMMatrixCode::addQuaternions(float r[4], const float a[4], const float b[4]) { addT(r, a, b); }
void QMMatrixCode::addQuaternions(double r[4], const double a[4], const double b[4]) { addT(r, a, b); }
void QMMatrixCode::subQuaternions(float r[4], const float a[4], const float b[4]) { subT(r, a, b); }
void QMMatrixCode::subQuaternions(double r[4], const double a[4], const double b[4]) { subT(r, a, b); }
void QMMatrixCode::multQuaternions(float r[4], const float a[4], const float b[4]) { multT(r, a, b); }
void QMMatrixCode::multQuaternions(double r[4], const double a[4], const double b[4]) { multT(r, a, b); }
void QMMatrixCode::divQuaternionsU(float r[4], const float a[4], const float b[4]) { divUT(r, a, b); }
void QMMatrixCode::divQuaternionsU(double r[4], const double a[4], const double b[4]) { divUT(r, a, b); }
void QMMatrixCode::conjugateQuaternion(float r[4], const float q[4]) { conjugateT(r, q); }
void QMMatrixCode::conjugateQuaternion(double r[4], const double q[4]) { conjugateT(r, q); }
float QMMatrixCode::dotQuaternions(const float a[4], const float b[4]) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
}
double QMMatrixCode::dotQuaternions(const double a[4], const double b[4]) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
}
void QMMatrixCode::applyQuatOn(float r[3], const float q[4], const float v[3]) { applyT(r, q, v); }
void QMMatrixCode::applyQuatOn(double r[3], const double q[4], const double v[3]) { applyT(r, q, v); }
void QMMatrixCode::inverseQuaternion(float r[4], const float q[4]) { conjugateT(r, q); }
void QMMatrixCode::inverseQuaternion(double r[4], const double q[4]) { conjugateT(r, q); }
void QMMatrixCode::inverseQuaternionU(float r[4], const float q[4]) { inverseUT(r, q); }
void QMMatrixCode::inverseQuaternionU(double r[4], const double q[4]) { inverseUT(r, q); }
void QMMatrixCode::axisToQuaternion(float q[4], const float axis[3], float angle) { axisT(q, axis, angle); }
void QMMatrixCode::axisToQuaternion(double q[4], const double axis[3], double angle) { axisT(q, axis, angle); }
void QMMatrixCode::axisToQuaternionU(float q[4], const float axis[3], float angle) { axisUT(q, axis, angle); }
void QMMatrixCode::axisToQuaternionU(double q[4], const double axis[3], double angle) { axisUT(q, axis, angle); }
void QMMatrixCode::quaternionToAxis(float axis[3], float& angle, const float q[4]) { toAxisT(axis, angle, q); }
void QMMatrixCode::quaternionToAxis(double axis[3], double& angle, const double q[4]) { toAxisT(axis, angle, q); }
void QMMatrixCode::eulerToQuaternion(float q[4], const float euler[3]) { eulerQuatT(q, euler); }
void QMMatrixCode::eulerToQuaternion(double q[4], const double euler[3]) { eulerQuatT(q, euler); }
void QMMatrixCode::RotMatrixToQuaternion(float q[4], const float* m) { rotMatrixQuatT(q, m); }
void QMMatrixCode::RotMatrixToQuaternion(double q[4], const double* m) { rotMatrixQuatT(q, m); }
void QMMatrixCode::quaternionLERP(float q[4], const float a[4], const float b[4], float t) { lerpT(q, a, b, t); }
void QMMatrixCode::quaternionLERP(double q[4], const double a[4], const double b[4], double t) { lerpT(q, a, b, t); }
void QMMatrixCode::quaternionSLERP(float q[4], const float a[4], const float b[4], float t) { slerpT(q, a, b, t); }
void QMMatrixCode::quaternionSLERP(double q[4], const double a[4], const double b[4], double t) { slerpT(q, a, b, t); }

void QMMatrixCode::quaternionToEuler(float euler[3], const float q[4]) {
    double m[16];
    quaternionRotation(m, q[0], q[1], q[2], q[3]);
    double e[3];
    matrixToEuler(e, m);
    store(euler, e, 3);
}
void QMMatrixCode::quaternionToEuler(double euler[3], const double q[4]) {
    double m[16];
    quaternionRotation(m, q[0], q[1], q[2], q[3]);
    matrixToEuler(euler, m);
}
