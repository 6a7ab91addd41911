#include "ModelGeometry.h"

#include <cmath>

namespace scriptmodel {

namespace {

// Lowers the minimum, or else raises the maximum (a NaN does neither).
void grow(float& low, float& high, float value) {
    if (low > value)
        low = value;
    else if (value > high)
        high = value;
}

// m[r] x + m[4+r] y + m[8+r] z + m[12+r] in double, left to right.
double row(const float* m, int r, double x, double y, double z) {
    double sum = static_cast<double>(m[r]) * x;
    sum += static_cast<double>(m[4 + r]) * y;
    sum += static_cast<double>(m[8 + r]) * z;
    sum += static_cast<double>(m[12 + r]);
    return sum;
}

}  // namespace

void Box::add(const Vec3& p) {
    if (max.x < min.x) {
        min = p;
        max = p;
        return;
    }
    grow(min.x, max.x, p.x);
    grow(min.y, max.y, p.y);
    grow(min.z, max.z, p.z);
}

Placement identityPlacement() {
    Placement placement{};
    placement.m[0] = placement.m[5] = placement.m[10] = placement.m[15] = 1.0f;
    return placement;
}

Placement scenePlacement(const Box& box, float height) {
    const float dx = box.max.x - box.min.x;
    const float dy = box.max.y - box.min.y;
    const float dz = box.max.z - box.min.z;
    const Vec3 centre{(box.min.x + box.max.x) / 2.0f, (box.min.y + box.max.y) / 2.0f, (box.min.z + box.max.z) / 2.0f};

    Placement placement = identityPlacement();
    const double flatness = dy;
    if (flatness > -1e-5 && flatness < 1e-5) return placement;

    // Built in three steps, as a scale about the centre is built: the
    // translation by -centre, every row of it scaled by s, the centre added
    // back; then the shift that takes the scaled minimum corner to the origin.
    const float s = height / dy;
    float* m = placement.m;
    m[12] = -centre.x;
    m[13] = -centre.y;
    m[14] = -centre.z;
    for (int r = 0; r < 3; ++r) {
        m[r] *= s;
        m[4 + r] *= s;
        m[8 + r] *= s;
        m[12 + r] *= s;
    }
    m[12] += centre.x;
    m[13] += centre.y;
    m[14] += centre.z;
    const float half = s * 0.5f;
    m[12] += half * dx - centre.x;
    m[13] += half * dy - centre.y;
    m[14] += half * dz - centre.z;
    return placement;
}

Vec3 affineProduct(const Placement& placement, const Vec3& p) {
    const double x = p.x, y = p.y, z = p.z;
    return Vec3{static_cast<float>(row(placement.m, 0, x, y, z)), static_cast<float>(row(placement.m, 1, x, y, z)),
                static_cast<float>(row(placement.m, 2, x, y, z))};
}

Vec3 projectiveProduct(const Placement& placement, const Vec3& p) {
    const double x = p.x, y = p.y, z = p.z;
    const double w = row(placement.m, 3, x, y, z);
    if (w == 0.0) return Vec3{0.0f, 0.0f, 0.0f};
    return Vec3{static_cast<float>(row(placement.m, 0, x, y, z) / w),
                static_cast<float>(row(placement.m, 1, x, y, z) / w),
                static_cast<float>(row(placement.m, 2, x, y, z) / w)};
}

Vec3 facetNormal(const Vec3& a, const Vec3& b, const Vec3& c) {
    const Vec3 u{b.x - a.x, b.y - a.y, b.z - a.z};
    const Vec3 w{c.x - b.x, c.y - b.y, c.z - b.z};
    Vec3 n{u.y * w.z - u.z * w.y, u.z * w.x - u.x * w.z, u.x * w.y - u.y * w.x};
    const float length = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
    const double d = length;
    if (d > -1e-24 && d < 1e-24) return n;
    n.x = static_cast<float>(static_cast<double>(n.x) / d);
    n.y = static_cast<float>(static_cast<double>(n.y) / d);
    n.z = static_cast<float>(static_cast<double>(n.z) / d);
    return n;
}

}  // namespace scriptmodel
