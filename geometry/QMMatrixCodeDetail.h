#pragma once

// Internal helpers shared by the QMMatrixCode*.cpp files: generic forms of
// kernels that exist for float and double arrays. Products are formed in
// double and each result is rounded once to the destination type.

#include "geometry/PortableMath.h"

namespace qm_detail {

// r = a b for 4x4 matrices, each element summed in double from left to right.
template <class R, class A, class B>
inline void mult4(R* r, const A* a, const B* b) {
    double out[16];
    for (int c = 0; c < 4; ++c) {
        for (int row = 0; row < 4; ++row) {
            double acc = (double)a[row] * (double)b[4 * c];
            acc += (double)a[4 + row] * (double)b[4 * c + 1];
            acc += (double)a[8 + row] * (double)b[4 * c + 2];
            acc += (double)a[12 + row] * (double)b[4 * c + 3];
            out[4 * c + row] = acc;
        }
    }
    for (int i = 0; i < 16; ++i) r[i] = (R)out[i];
}

// r = a b for 3x3 matrices.
template <class R, class A, class B>
inline void mult3(R* r, const A* a, const B* b) {
    double out[9];
    for (int c = 0; c < 3; ++c) {
        for (int row = 0; row < 3; ++row) {
            double acc = (double)a[row] * (double)b[3 * c];
            acc += (double)a[3 + row] * (double)b[3 * c + 1];
            acc += (double)a[6 + row] * (double)b[3 * c + 2];
            out[3 * c + row] = acc;
        }
    }
    for (int i = 0; i < 9; ++i) r[i] = (R)out[i];
}

inline void identity4(double* m) {
    for (int i = 0; i < 16; ++i) m[i] = 0.0;
    m[0] = m[5] = m[10] = m[15] = 1.0;
}

// Rotation by angle about the unit axis (x, y, z), right-handed.
inline void axisRotation(double* m, double x, double y, double z, double angle) {
    const double c = PortableMath::cos(angle);
    const double s = PortableMath::sin(angle);
    const double t = 1.0 - c;
    identity4(m);
    m[0] = t * x * x + c;
    m[1] = t * x * y + s * z;
    m[2] = t * x * z - s * y;
    m[4] = t * x * y - s * z;
    m[5] = t * y * y + c;
    m[6] = t * y * z + s * x;
    m[8] = t * x * z + s * y;
    m[9] = t * y * z - s * x;
    m[10] = t * z * z + c;
}

// Rz(az) Ry(ay) Rx(ax).
inline void eulerRotation(double* m, double ax, double ay, double az) {
    const double cx = PortableMath::cos(ax), sx = PortableMath::sin(ax);
    const double cy = PortableMath::cos(ay), sy = PortableMath::sin(ay);
    const double cz = PortableMath::cos(az), sz = PortableMath::sin(az);
    identity4(m);
    m[0] = cy * cz;
    m[1] = cy * sz;
    m[2] = -sy;
    m[4] = sx * sy * cz - cx * sz;
    m[5] = sx * sy * sz + cx * cz;
    m[6] = sx * cy;
    m[8] = cx * sy * cz + sx * sz;
    m[9] = cx * sy * sz - sx * cz;
    m[10] = cx * cy;
}

// Rotation of the quaternion (w, x, y, z) scaled by 2 / |q|^2; identity for
// a zero quaternion.
inline void quaternionRotation(double* m, double w, double x, double y, double z) {
    identity4(m);
    const double n = w * w + x * x + y * y + z * z;
    if (n == 0.0) return;
    const double s = 2.0 / n;
    m[0] = 1.0 - s * (y * y + z * z);
    m[1] = s * (x * y + w * z);
    m[2] = s * (x * z - w * y);
    m[4] = s * (x * y - w * z);
    m[5] = 1.0 - s * (x * x + z * z);
    m[6] = s * (y * z + w * x);
    m[8] = s * (x * z + w * y);
    m[9] = s * (y * z - w * x);
    m[10] = 1.0 - s * (x * x + y * y);
}

template <class T>
inline void store(T* r, const double* d, int n) {
    for (int i = 0; i < n; ++i) r[i] = (T)d[i];
}

}  // namespace qm_detail
