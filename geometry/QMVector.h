#pragma once

#include "support/OmbrelApi.h"
#include "support/QMArray.h"

#include <cstddef>
#include <type_traits>

// Small float vectors of the geometry layer.
//
// All three are plain runs of 32-bit floats with no other state: arrays of
// QMVector3f are filled straight from file bytes, so the layout is fixed and
// checked below. Arithmetic is in float unless a function says it widens to
// double; the widening steps are part of the results and must not change.

class OMBREL_API QMVector2f {
public:
    float x;
    float y;

    constexpr QMVector2f() : x(0.0f), y(0.0f) {}
    constexpr QMVector2f(float ax, float ay) : x(ax), y(ay) {}

    // Scales to unit length; a vector whose length lies in [-1e-6, 1e-6] is
    // left unchanged. Returns the vector itself.
    QMVector2f& normalize();
    // Scales to the given length (same unchanged-vector rule).
    QMVector2f& normalize(float length);

    // Replaces each component by its integer part (truncated toward zero)
    // when it lies strictly within eps of it.
    void snapToIntegerValues(float eps);

    static const QMVector2f m_zero;
};

class OMBREL_API QMVector3f {
public:
    float x;
    float y;
    float z;

    constexpr QMVector3f() : x(0.0f), y(0.0f), z(0.0f) {}
    constexpr QMVector3f(float ax, float ay, float az) : x(ax), y(ay), z(az) {}
    // The 2-vector in the z = 0 plane.
    constexpr explicit QMVector3f(const QMVector2f& v) : x(v.x), y(v.y), z(0.0f) {}

    // Component-wise float arithmetic.
    QMVector3f operator+(const QMVector3f& o) const { return QMVector3f(x + o.x, y + o.y, z + o.z); }
    QMVector3f operator-(const QMVector3f& o) const { return QMVector3f(x - o.x, y - o.y, z - o.z); }
    QMVector3f operator-() const { return QMVector3f(-x, -y, -z); }
    QMVector3f operator*(float f) const { return QMVector3f(x * f, y * f, z * f); }
    QMVector3f operator/(float f) const { return QMVector3f(x / f, y / f, z / f); }
    QMVector3f& operator/=(float f) {
        x /= f;
        y /= f;
        z /= f;
        return *this;
    }

    // x*o.x + y*o.y + z*o.z in float, summed left to right.
    float dot(const QMVector3f& o) const { return x * o.x + y * o.y + z * o.z; }
    // sqrt(x*x + y*y + z*z) in float.
    float length() const;

    // Scales to unit length, dividing in double. Returns the length before
    // scaling, or 1.0 when the length is within 1e-24 of zero, in which case
    // the vector is left as it was (a zero vector stays zero).
    float normalize();

    // result = a x b, in float. result may be a or b.
    static void cross(QMVector3f& result, const QMVector3f& a, const QMVector3f& b);
    // result = a - b, in float. result may be a or b.
    static void sub(QMVector3f& result, const QMVector3f& a, const QMVector3f& b);

    // Lexicographic three-way comparison with a tolerance: x decides unless
    // the two x differ by at most eps, then y, then z. Returns -1, 0 or 1.
    int compareEps(const QMVector3f& other, float eps) const;

    // Removes the component along n (taken as unit): v -= (v . n) n.
    // Always returns true.
    bool makeOrthogonalTo(const QMVector3f& n);

    // Writes into result a vector orthogonal to this one: the cross product
    // of a coordinate axis with this vector, the axis being picked from the
    // magnitudes of the components so that it is never the dominant one.
    void findOrthogonalVector(QMVector3f& result) const;

    // Angle between the two vectors, in radians; 0 when either is zero.
    double angleD(const QMVector3f& other) const;

    // Sorts the indices 0..points.size()-1 of points by compareEps with the
    // tolerance eps, ties broken by index (see IndexedSort.h).
    static void indexedSort(QMArray<int>& indices, const QMArray<QMVector3f>& points, float eps);

    static const QMVector3f m_zero;
    // The unit X, Y and Z axes, in that order.
    static const QMVector3f m_axis[3];
};

class OMBREL_API QMVector4f {
public:
    float x;
    float y;
    float z;
    float w;

    constexpr QMVector4f() : x(0.0f), y(0.0f), z(0.0f), w(0.0f) {}
    constexpr QMVector4f(float ax, float ay, float az, float aw) : x(ax), y(ay), z(az), w(aw) {}

    // Scales all four components to unit length, dividing in double; a
    // vector whose length is within 1e-24 of zero is left unchanged.
    // Returns the vector itself.
    QMVector4f& normalize();
};

// Point arrays are read from files as raw bytes: the vectors must stay packed
// runs of floats.
static_assert(sizeof(QMVector2f) == 2 * sizeof(float), "QMVector2f must be two packed floats");
static_assert(sizeof(QMVector3f) == 3 * sizeof(float), "QMVector3f must be three packed floats");
static_assert(sizeof(QMVector4f) == 4 * sizeof(float), "QMVector4f must be four packed floats");
static_assert(std::is_standard_layout_v<QMVector3f> && std::is_trivially_copyable_v<QMVector3f>,
              "QMVector3f must be copyable as raw bytes");
static_assert(std::is_standard_layout_v<QMVector2f> && std::is_trivially_copyable_v<QMVector2f>,
              "QMVector2f must be copyable as raw bytes");
static_assert(std::is_standard_layout_v<QMVector4f> && std::is_trivially_copyable_v<QMVector4f>,
              "QMVector4f must be copyable as raw bytes");
static_assert(offsetof(QMVector3f, y) == 4 && offsetof(QMVector3f, z) == 8, "QMVector3f field order");
