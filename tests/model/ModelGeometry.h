#pragma once

// The arithmetic of an export: the scene's bounding box, the placement
// matrix that fits it to the declared height, the two point products and the
// STL facet normal. Every step is single-precision float except where a step
// is said to be in double, and the order of the operations is part of the
// output: it decides the last bit and the sign of zeros.
namespace scriptmodel {

struct Vec3 {
    float x, y, z;
};
static_assert(sizeof(Vec3) == 12, "a Points entry is three packed floats");

struct Vec2 {
    float u, v;
};
static_assert(sizeof(Vec2) == 8, "a UV entry is two packed floats");

// The union box of the scene. It starts empty, with min (0, 0, 0) and max
// (-1, 0, 0): a box counts as empty while max.x < min.x.
struct Box {
    Vec3 min{0.0f, 0.0f, 0.0f};
    Vec3 max{-1.0f, 0.0f, 0.0f};

    // The first point sets both corners; after that, per axis, a value below
    // the minimum lowers it, otherwise one above the maximum raises it.
    void add(const Vec3& p);
};

// Sixteen floats in column-major order: element (row r, column c) is m[4c + r].
struct Placement {
    float m[16];
};

Placement identityPlacement();

// Scales the scene about the box's centre so that its Y extent becomes
// `height`, then moves its minimum corner to the origin. A box whose Y extent
// is within 1e-5 of zero (compared in double) gives the identity.
Placement scenePlacement(const Box& box, float height);

// Each coordinate m[r] x + m[4+r] y + m[8+r] z + m[12+r], summed left to
// right in double and rounded once to float.
Vec3 affineProduct(const Placement& placement, const Vec3& p);
// The same sums divided by w = m[3] x + m[7] y + m[11] z + m[15] in double
// before rounding; (0, 0, 0) when w is exactly 0. The STL writer uses this
// one; the VRML writer the affine one.
Vec3 projectiveProduct(const Placement& placement, const Vec3& p);

// (b - a) x (c - b) in float, then scaled to unit length in double; a
// normal shorter than 1e-24 is kept as it is.
Vec3 facetNormal(const Vec3& a, const Vec3& b, const Vec3& c);

}  // namespace scriptmodel
