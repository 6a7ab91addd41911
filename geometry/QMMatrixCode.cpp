#include "geometry/QMMatrixCode.h"

// ------------------------------------------------------------------ construction

void QMMatrixCode::setIdentity(float* m) {
    for (int i = 0; i < 16; ++i) m[i] = 0.0f;
    m[0] = 1.0f;
    m[5] = 1.0f;
    m[10] = 1.0f;
    m[15] = 1.0f;
}

void QMMatrixCode::setTranslate(float* m, const float t[3]) {
    const float tx = t[0];
    const float ty = t[1];
    const float tz = t[2];
    setIdentity(m);
    m[12] = tx;
    m[13] = ty;
    m[14] = tz;
}

// ------------------------------------------------------- left and right products

void QMMatrixCode::multLeftByTranslate(float* m, const float t[3]) {
    const float tx = t[0];
    const float ty = t[1];
    const float tz = t[2];
    m[12] += tx;
    m[13] += ty;
    m[14] += tz;
}

void QMMatrixCode::multRightByTranslate(float* m, const float t[3]) {
    // The translation column gains the upper-left 3x3 block times t.
    float column[3];
    multAffineMatrixVec3fAsDir(column, m, t);
    for (int r = 0; r < 3; ++r) m[12 + r] += column[r];
}

void QMMatrixCode::multLeftByScale(float* m, const float s[3]) {
    const float sr[3] = {s[0], s[1], s[2]};
    for (int r = 0; r < 3; ++r) {
        m[r] *= sr[r];
        m[4 + r] *= sr[r];
        m[8 + r] *= sr[r];
        m[12 + r] *= sr[r];
    }
}

// -------------------------------------------------------------- vector products

namespace {

// m[r] x + m[4+r] y + m[8+r] z + m[12+r], each product in double, summed
// left to right.
inline double affineRow(const float* m, int r, double x, double y, double z) {
    double acc = (double)m[r] * x;
    acc += (double)m[4 + r] * y;
    acc += (double)m[8 + r] * z;
    acc += (double)m[12 + r];
    return acc;
}

}  // namespace

void QMMatrixCode::multMatrixVec3f(float result[3], const float* m, const float v[3]) {
    const double x = v[0];
    const double y = v[1];
    const double z = v[2];
    const double w = affineRow(m, 3, x, y, z);
    if (w == 0.0) {
        result[0] = 0.0f;
        result[1] = 0.0f;
        result[2] = 0.0f;
        return;
    }
    const double ax = affineRow(m, 0, x, y, z);
    const double ay = affineRow(m, 1, x, y, z);
    const double az = affineRow(m, 2, x, y, z);
    result[0] = (float)(ax / w);
    result[1] = (float)(ay / w);
    result[2] = (float)(az / w);
}

void QMMatrixCode::multMatrixVec4f(float result[4], const float* m, const float v[4]) {
    const double x = v[0];
    const double y = v[1];
    const double z = v[2];
    const double w = v[3];
    float out[4];
    for (int r = 0; r < 4; ++r) {
        double acc = (double)m[r] * x;
        acc += (double)m[4 + r] * y;
        acc += (double)m[8 + r] * z;
        acc += (double)m[12 + r] * w;
        out[r] = (float)acc;
    }
    for (int r = 0; r < 4; ++r) result[r] = out[r];
}

void QMMatrixCode::multAffineMatrixVec3f(float result[3], const float* m, const float v[3]) {
    const double x = v[0];
    const double y = v[1];
    const double z = v[2];
    const float rx = (float)affineRow(m, 0, x, y, z);
    const float ry = (float)affineRow(m, 1, x, y, z);
    const float rz = (float)affineRow(m, 2, x, y, z);
    result[0] = rx;
    result[1] = ry;
    result[2] = rz;
}

void QMMatrixCode::multAffineMatrixVec3fAsDir(float result[3], const float* m, const float v[3]) {
    const double x = v[0];
    const double y = v[1];
    const double z = v[2];
    float out[3];
    for (int r = 0; r < 3; ++r) {
        double acc = (double)m[r] * x;
        acc += (double)m[4 + r] * y;
        acc += (double)m[8 + r] * z;
        out[r] = (float)acc;
    }
    result[0] = out[0];
    result[1] = out[1];
    result[2] = out[2];
}
