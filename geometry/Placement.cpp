// The placement transform that fits an exported scene to the requested height.

#include "geometry/QMMatrix4f.h"

void buildMatrix(QMMatrix4f& M, float height, const BBox& box) {
    const float dx = box.m_max.x - box.m_min.x;
    const float dy = box.m_max.y - box.m_min.y;
    const float dz = box.m_max.z - box.m_min.z;
    const QMVector3f c = box.getCenter();

    // A scene flat in Y (or an empty box, whose Y extent is 0) has no height
    // to fit: it is exported unscaled and unmoved. The test is made in double
    // against the double 1e-5, so an extent of exactly 1e-5f (slightly less)
    // still counts as flat.
    if ((double)dy > -1e-5 && (double)dy < 1e-5) {
        M.setIdentity();  // type 0
        return;
    }

    // Uniform scale about the box centre so that the Y extent becomes height,
    // then a shift that takes the scaled minimum corner, now at
    // c - (s/2) d, to the origin.
    const float s = height / dy;
    M.setScale(QMVector3f(s, s, s), c);
    const float h = s * 0.5f;
    const QMVector3f t(h * dx - c.x, h * dy - c.y, h * dz - c.z);
    M.multLeftByTranslate(t);
}

void buildMatrix(QMMatrix4f& M, float height, bool /*flag0*/, bool /*flag1*/, bool /*flag2*/, bool /*flag3*/,
                 const BBox& box) {
    // The flip-and-switch flags are accepted for the interface only; they do
    // not change the placement.
    buildMatrix(M, height, box);
}

void buildMatrix(QMMatrix4f& M, float height, int code, const BBox& box) {
    const bool flag0 = (code & 1) != 0;
    const bool flag1 = (code & 2) != 0;
    const bool flag2 = (code & 4) != 0;
    const bool flag3 = (code & 8) != 0;
    buildMatrix(M, height, flag0, flag1, flag2, flag3, box);
}
