#include "geometry/QMMatrixCode.h"
#include "geometry/QMMatrixCodeDetail.h"

#include <cmath>

using namespace qm_detail;

namespace {

// Gauss-Jordan on [M | I] in double; rows are swapped by pointer.
bool gaussJordan(double* out, const double* in) {
    double rows[4][8];
    double* row[4];
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            rows[r][c] = in[4 * c + r];
            rows[r][4 + c] = (r == c) ? 1.0 : 0.0;
        }
        row[r] = rows[r];
    }
    for (int col = 0; col < 4; ++col) {
        int best = col;
        for (int r = col + 1; r < 4; ++r)
            if (std::fabs(row[r][col]) > std::fabs(row[best][col])) best = r;
        if (best != col) {
            double* t = row[col];
            row[col] = row[best];
            row[best] = t;
        }
        const double pivot = row[col][col];
        if (pivot == 0.0) return false;
        for (int c = 0; c < 8; ++c) row[col][c] /= pivot;
        for (int r = 0; r < 4; ++r) {
            if (r == col) continue;
            const double f = row[r][col];
            if (f == 0.0) continue;
            for (int c = 0; c < 8; ++c) row[r][c] -= f * row[col][c];
        }
    }
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) out[4 * c + r] = row[r][4 + c];
    return true;
}

// Inverse of a 3x3 block given by element accessor a(r, c), by cofactors.
template <class Get>
bool cofactorInverse(double out[9], Get a) {
    const double c00 = a(1, 1) * a(2, 2) - a(1, 2) * a(2, 1);
    const double c01 = a(1, 2) * a(2, 0) - a(1, 0) * a(2, 2);
    const double c02 = a(1, 0) * a(2, 1) - a(1, 1) * a(2, 0);
    const double det = a(0, 0) * c00 + a(0, 1) * c01 + a(0, 2) * c02;
    if (det == 0.0) return false;
    const double inv = 1.0 / det;
    // out(r, c) = cofactor(c, r) / det, column-major 3x3.
    out[0] = c00 * inv;
    out[1] = c01 * inv;
    out[2] = c02 * inv;
    out[3] = (a(0, 2) * a(2, 1) - a(0, 1) * a(2, 2)) * inv;
    out[4] = (a(0, 0) * a(2, 2) - a(0, 2) * a(2, 0)) * inv;
    out[5] = (a(0, 1) * a(2, 0) - a(0, 0) * a(2, 1)) * inv;
    out[6] = (a(0, 1) * a(1, 2) - a(0, 2) * a(1, 1)) * inv;
    out[7] = (a(0, 2) * a(1, 0) - a(0, 0) * a(1, 2)) * inv;
    out[8] = (a(0, 0) * a(1, 1) - a(0, 1) * a(1, 0)) * inv;
    return true;
}

template <class T>
bool inverseMatrixT(T* r, const T* m) {
    double in[16], out[16];
    for (int i = 0; i < 16; ++i) in[i] = m[i];
    if (!gaussJordan(out, in)) return false;
    store(r, out, 16);
    return true;
}

// Block inverse into out (4x4 double), translation included when withTr.
template <class T>
bool affineInverse(double* out, const T* m, bool withTr) {
    double b[9];
    if (!cofactorInverse(b, [m](int r, int c) { return (double)m[4 * c + r]; })) return false;
    identity4(out);
    for (int c = 0; c < 3; ++c)
        for (int k = 0; k < 3; ++k) out[4 * c + k] = b[3 * c + k];
    if (withTr) {
        const double t[3] = {m[12], m[13], m[14]};
        for (int k = 0; k < 3; ++k) out[12 + k] = -(b[k] * t[0] + b[3 + k] * t[1] + b[6 + k] * t[2]);
    }
    return true;
}

template <class T>
void inverseRotateT(T* r, const T* m, bool withTr) {
    double out[16];
    identity4(out);
    for (int c = 0; c < 3; ++c)
        for (int k = 0; k < 3; ++k) out[4 * c + k] = m[4 * k + c];
    if (withTr) {
        const double t[3] = {m[12], m[13], m[14]};
        for (int k = 0; k < 3; ++k) out[12 + k] = -(out[k] * t[0] + out[4 + k] * t[1] + out[8 + k] * t[2]);
    }
    store(r, out, 16);
}

template <class T>
void inverseScaleT(T* r, const T* m) {
    double out[16];
    identity4(out);
    out[0] = 1.0 / (double)m[0];
    out[5] = 1.0 / (double)m[5];
    out[10] = 1.0 / (double)m[10];
    store(r, out, 16);
}

template <class T>
void inverseTranslateT(T* r, const T* m) {
    double out[16];
    identity4(out);
    out[12] = -(double)m[12];
    out[13] = -(double)m[13];
    out[14] = -(double)m[14];
    store(r, out, 16);
}

template <class T>
double det4T(const T* p) {
    auto a = [p](int r, int c) { return (double)p[4 * c + r]; };
    // Expansion along the first two rows by 2x2 minors.
    const double s0 = a(0, 0) * a(1, 1) - a(1, 0) * a(0, 1);
    const double s1 = a(0, 0) * a(1, 2) - a(1, 0) * a(0, 2);
    const double s2 = a(0, 0) * a(1, 3) - a(1, 0) * a(0, 3);
    const double s3 = a(0, 1) * a(1, 2) - a(1, 1) * a(0, 2);
    const double s4 = a(0, 1) * a(1, 3) - a(1, 1) * a(0, 3);
    const double s5 = a(0, 2) * a(1, 3) - a(1, 2) * a(0, 3);
    const double c5 = a(2, 2) * a(3, 3) - a(3, 2) * a(2, 3);
    const double c4 = a(2, 1) * a(3, 3) - a(3, 1) * a(2, 3);
    const double c3 = a(2, 1) * a(3, 2) - a(3, 1) * a(2, 2);
    const double c2 = a(2, 0) * a(3, 3) - a(3, 0) * a(2, 3);
    const double c1 = a(2, 0) * a(3, 2) - a(3, 0) * a(2, 2);
    const double c0 = a(2, 0) * a(3, 1) - a(3, 0) * a(2, 1);
    return s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
}

}  // namespace

bool QMMatrixCode::inverseMatrix(float* r, const float* m) { return inverseMatrixT(r, m); }
bool QMMatrixCode::inverseMatrix(double* r, const double* m) { return inverseMatrixT(r, m); }

bool QMMatrixCode::inverse3(float* r, const float* m) {
    double out[16];
    if (!affineInverse(out, m, false)) return false;
    store(r, out, 16);
    return true;
}
bool QMMatrixCode::inverse3(double* r, const double* m) {
    double out[16];
    if (!affineInverse(out, m, false)) return false;
    store(r, out, 16);
    return true;
}
bool QMMatrixCode::inverseAffine(float* r, const float* m) {
    double out[16];
    if (!affineInverse(out, m, true)) return false;
    store(r, out, 16);
    return true;
}
bool QMMatrixCode::inverseAffine(double* r, const double* m) {
    double out[16];
    if (!affineInverse(out, m, true)) return false;
    store(r, out, 16);
    return true;
}

void QMMatrixCode::inverseRotate(float* r, const float* m) { inverseRotateT(r, m, false); }
void QMMatrixCode::inverseRotate(double* r, const double* m) { inverseRotateT(r, m, false); }
void QMMatrixCode::inverseRotateAndTr(float* r, const float* m) { inverseRotateT(r, m, true); }
void QMMatrixCode::inverseRotateAndTr(double* r, const double* m) { inverseRotateT(r, m, true); }
void QMMatrixCode::inverseScale(float* r, const float* m) { inverseScaleT(r, m); }
void QMMatrixCode::inverseScale(double* r, const double* m) { inverseScaleT(r, m); }
void QMMatrixCode::inverseTranslate(float* r, const float* m) { inverseTranslateT(r, m); }
void QMMatrixCode::inverseTranslate(double* r, const double* m) { inverseTranslateT(r, m); }

bool QMMatrixCode::inverseMatrix3x3(double* r, const double* m) {
    double out[9];
    if (!cofactorInverse(out, [m](int row, int c) { return m[3 * c + row]; })) return false;
    for (int i = 0; i < 9; ++i) r[i] = out[i];
    return true;
}

float QMMatrixCode::det4(const float* m) { return (float)det4T(m); }
double QMMatrixCode::det4(const double* m) { return det4T(m); }
