#include "geometry/QMMatrixCode.h"
#include "geometry/QMMatrixCodeDetail.h"

#include <cmath>

using namespace qm_detail;

namespace {

template <class T>
void addT(T* r, const T* a, const T* b) {
    for (int i = 0; i < 16; ++i) r[i] = a[i] + b[i];
}
template <class T>
void subT(T* r, const T* a, const T* b) {
    for (int i = 0; i < 16; ++i) r[i] = a[i] - b[i];
}
template <class T>
void scalarT(T* r, const T* a, T s) {
    for (int i = 0; i < 16; ++i) r[i] = (T)((double)a[i] * (double)s);
}
template <class T>
void colRowT(T* r, const T* col, const T* row, int n) {
    double out[16];
    for (int c = 0; c < n; ++c)
        for (int k = 0; k < n; ++k) out[n * c + k] = (double)col[k] * (double)row[c];
    store(r, out, n * n);
}
template <class T>
void multAffineT(T* r, const T* a, const T* b) {
    double out[16];
    for (int c = 0; c < 4; ++c) {
        const double b3 = (c == 3) ? 1.0 : 0.0;
        for (int row = 0; row < 3; ++row) {
            double acc = (double)a[row] * (double)b[4 * c];
            acc += (double)a[4 + row] * (double)b[4 * c + 1];
            acc += (double)a[8 + row] * (double)b[4 * c + 2];
            acc += (double)a[12 + row] * b3;
            out[4 * c + row] = acc;
        }
        out[4 * c + 3] = b3;
    }
    store(r, out, 16);
}
template <class T>
void transposeT(T* r, const T* a, int n) {
    T out[16];
    for (int c = 0; c < n; ++c)
        for (int k = 0; k < n; ++k) out[n * c + k] = a[n * k + c];
    for (int i = 0; i < n * n; ++i) r[i] = out[i];
}
template <class T>
void transposeAffineT(T* r, const T* a) {
    T out[16];
    for (int i = 0; i < 16; ++i) out[i] = a[i];
    for (int c = 0; c < 3; ++c)
        for (int k = 0; k < 3; ++k) out[4 * c + k] = a[4 * k + c];
    for (int i = 0; i < 16; ++i) r[i] = out[i];
}

}  // namespace

void QMMatrixCode::addMatrices(float* r, const float* a, const float* b) { addT(r, a, b); }
void QMMatrixCode::addMatrices(double* r, const double* a, const double* b) { addT(r, a, b); }
void QMMatrixCode::subMatrices(float* r, const float* a, const float* b) { subT(r, a, b); }
void QMMatrixCode::subMatrices(double* r, const double* a, const double* b) { subT(r, a, b); }
void QMMatrixCode::multMatrices(float* r, const float* a, const float* b) { mult4(r, a, b); }
void QMMatrixCode::multMatrices(double* r, const double* a, const double* b) { mult4(r, a, b); }
void QMMatrixCode::multMatrixScalar(float* r, const float* a, float s) { scalarT(r, a, s); }
void QMMatrixCode::multMatrixScalar(double* r, const double* a, double s) { scalarT(r, a, s); }
void QMMatrixCode::multColRow(float* r, const float col[4], const float row[4]) { colRowT(r, col, row, 4); }
void QMMatrixCode::multColRow(double* r, const double col[4], const double row[4]) { colRowT(r, col, row, 4); }
void QMMatrixCode::multAffineMatrices(float* r, const float* a, const float* b) { multAffineT(r, a, b); }
void QMMatrixCode::multAffineMatrices(double* r, const double* a, const double* b) { multAffineT(r, a, b); }

void QMMatrixCode::neg(float* r, const float* a) {
    for (int i = 0; i < 16; ++i) r[i] = -a[i];
}
void QMMatrixCode::abs(float* r, const float* a) {
    for (int i = 0; i < 16; ++i) r[i] = std::fabs(a[i]);
}

void QMMatrixCode::transpose(float* r, const float* a) { transposeT(r, a, 4); }
void QMMatrixCode::transpose(double* r, const double* a) { transposeT(r, a, 4); }
void QMMatrixCode::transposeAffine(float* r, const float* a) { transposeAffineT(r, a); }
void QMMatrixCode::transposeAffine(double* r, const double* a) { transposeAffineT(r, a); }

// ------------------------------------------------- 3x3 operations and copies

void QMMatrixCode::multMatrices3x3(float* r, const float* a, const float* b) { mult3(r, a, b); }
void QMMatrixCode::multMatrices3x3(double* r, const double* a, const double* b) { mult3(r, a, b); }
void QMMatrixCode::transposeMatrix3x3(float* r, const float* a) { transposeT(r, a, 3); }
void QMMatrixCode::transposeMatrix3x3(double* r, const double* a) { transposeT(r, a, 3); }
void QMMatrixCode::multColRow3x3(float* r, const float col[3], const float row[3]) { colRowT(r, col, row, 3); }
void QMMatrixCode::multColRow3x3(double* r, const double col[3], const double row[3]) { colRowT(r, col, row, 3); }

namespace {

template <class R, class A>
void copy3to3(R* r, const A* a) {
    for (int i = 0; i < 9; ++i) r[i] = (R)a[i];
}
template <class R, class A>
void copy3to4(R* r, const A* a) {
    R out[16];
    for (int i = 0; i < 16; ++i) out[i] = (R)0;
    out[15] = (R)1;
    for (int c = 0; c < 3; ++c)
        for (int k = 0; k < 3; ++k) out[4 * c + k] = (R)a[3 * c + k];
    for (int i = 0; i < 16; ++i) r[i] = out[i];
}
template <class R, class A>
void copy4to3(R* r, const A* a) {
    R out[9];
    for (int c = 0; c < 3; ++c)
        for (int k = 0; k < 3; ++k) out[3 * c + k] = (R)a[4 * c + k];
    for (int i = 0; i < 9; ++i) r[i] = out[i];
}
template <class R, class A>
void copy4to4(R* r, const A* a) {
    for (int i = 0; i < 16; ++i) r[i] = (R)a[i];
}

}  // namespace

void QMMatrixCode::copyMat3dToMat3f(float* r, const double* a) { copy3to3(r, a); }
void QMMatrixCode::copyMat3fToMat3d(double* r, const float* a) { copy3to3(r, a); }
void QMMatrixCode::copyMat3fToMat4f(float* r, const float* a) { copy3to4(r, a); }
void QMMatrixCode::copyMat3dToMat4f(float* r, const double* a) { copy3to4(r, a); }
void QMMatrixCode::copyMat3dToMat4d(double* r, const double* a) { copy3to4(r, a); }
void QMMatrixCode::copyMat4fToMat3d(double* r, const float* a) { copy4to3(r, a); }
void QMMatrixCode::copyMat4fToMat3f(float* r, const float* a) { copy4to3(r, a); }
void QMMatrixCode::copyMat4dToMat3d(double* r, const double* a) { copy4to3(r, a); }
void QMMatrixCode::copyMat4fToMat4d(double* r, const float* a) { copy4to4(r, a); }
void QMMatrixCode::copyMat4dToMat4f(float* r, const double* a) { copy4to4(r, a); }
