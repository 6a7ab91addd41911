#include "geometry/QMVector.h"

#include "geometry/IndexedSort.h"
#include "geometry/PortableMath.h"

#include <bit>
#include <cmath>
#include <cstdint>

const QMVector2f QMVector2f::m_zero(0.0f, 0.0f);

const QMVector3f QMVector3f::m_zero(0.0f, 0.0f, 0.0f);
const QMVector3f QMVector3f::m_axis[3] = {
    QMVector3f(1.0f, 0.0f, 0.0f),
    QMVector3f(0.0f, 1.0f, 0.0f),
    QMVector3f(0.0f, 0.0f, 1.0f),
};

// ---------------------------------------------------------------- QMVector2f

QMVector2f& QMVector2f::normalize() {
    const float len = std::sqrt(x * x + y * y);
    if (len >= -1e-6f && len <= 1e-6f) return *this;
    x /= len;
    y /= len;
    return *this;
}

QMVector2f& QMVector2f::normalize(float length) {
    const float len = std::sqrt(x * x + y * y);
    if (len >= -1e-6f && len <= 1e-6f) return *this;
    const float factor = length / len;
    x *= factor;
    y *= factor;
    return *this;
}

void QMVector2f::snapToIntegerValues(float eps) {
    // Only the integer toward zero is a candidate: 2.9999 is not snapped to 3.
    // std::trunc keeps the sign, so -0.001 snaps to -0.0.
    const float tx = std::trunc(x);
    const float dx = x - tx;
    if (dx > -eps && dx < eps) x = tx;
    const float ty = std::trunc(y);
    const float dy = y - ty;
    if (dy > -eps && dy < eps) y = ty;
}

// ---------------------------------------------------------------- QMVector3f

float QMVector3f::length() const { return std::sqrt(x * x + y * y + z * z); }

float QMVector3f::normalize() {
    const float len = std::sqrt(x * x + y * y + z * z);
    const double d = len;
    if (d > -1e-24 && d < 1e-24) return 1.0f;
    x = (float)((double)x / d);
    y = (float)((double)y / d);
    z = (float)((double)z / d);
    return len;
}

void QMVector3f::cross(QMVector3f& result, const QMVector3f& a, const QMVector3f& b) {
    const float rx = a.y * b.z - a.z * b.y;
    const float ry = a.z * b.x - a.x * b.z;
    const float rz = a.x * b.y - a.y * b.x;
    result.x = rx;
    result.y = ry;
    result.z = rz;
}

void QMVector3f::sub(QMVector3f& result, const QMVector3f& a, const QMVector3f& b) {
    result.x = a.x - b.x;
    result.y = a.y - b.y;
    result.z = a.z - b.z;
}

int QMVector3f::compareEps(const QMVector3f& other, float eps) const {
    float d = x - other.x;
    if (d < -eps) return -1;
    if (d > eps) return 1;
    d = y - other.y;
    if (d < -eps) return -1;
    if (d > eps) return 1;
    d = z - other.z;
    if (d < -eps) return -1;
    if (d > eps) return 1;
    return 0;
}

bool QMVector3f::makeOrthogonalTo(const QMVector3f& n) {
    const float d = dot(n);
    x = x - d * n.x;
    y = y - d * n.y;
    z = z - d * n.z;
    return true;
}

void QMVector3f::findOrthogonalVector(QMVector3f& result) const {
    const float ax = std::fabs(x);
    const float ay = std::fabs(y);
    const float az = std::fabs(z);
    int axis;
    if (ax > ay)
        axis = (ay > az) ? 2 : 1;
    else
        axis = (ax > az) ? 2 : 0;
    cross(result, m_axis[axis], *this);
}

double QMVector3f::angleD(const QMVector3f& other) const {
    // Each length is taken in float, as length() gives it; their product and
    // the cosine are formed in double.
    const double product = (double)length() * (double)other.length();
    if (product == 0.0) return 0.0;
    const double c = (double)dot(other) / product;
    if (c <= -1.0) return 3.141592653589793;
    if (c >= 1.0) return 0.0;
    return PortableMath::acos(c);
}

void QMVector3f::indexedSort(QMArray<int>& indices, const QMArray<QMVector3f>& points, float eps) {
    ::indexedSort(indices, points, QMVector3fComp(eps));
}

// ---------------------------------------------------------------- QMVector4f

QMVector4f& QMVector4f::normalize() {
    const float len = std::sqrt(x * x + y * y + z * z + w * w);
    if (len > -1e-24f && len < 1e-24f) return *this;
    const double d = len;
    x = (float)((double)x / d);
    y = (float)((double)y / d);
    z = (float)((double)z / d);
    w = (float)((double)w / d);
    return *this;
}
