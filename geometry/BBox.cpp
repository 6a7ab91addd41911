#include "geometry/BBox.h"

#include <cmath>

void BBox::clear() {
    m_min.x = 0.0f;
    m_max.x = -1.0f;
}

void BBox::add(const QMVector3f& v) {
    if (m_max.x < m_min.x) {
        m_min = v;
        m_max = v;
        return;
    }
    if (m_min.x > v.x)
        m_min.x = v.x;
    else if (v.x > m_max.x)
        m_max.x = v.x;
    if (m_min.y > v.y)
        m_min.y = v.y;
    else if (v.y > m_max.y)
        m_max.y = v.y;
    if (m_min.z > v.z)
        m_min.z = v.z;
    else if (v.z > m_max.z)
        m_max.z = v.z;
}

void BBox::add(const BBox& box) {
    if (m_max.x < m_min.x) {
        m_min = box.m_min;
        m_max = box.m_max;
        return;
    }
    // Copies first: box may be this box.
    const QMVector3f lo = box.m_min;
    const QMVector3f hi = box.m_max;
    add(lo);
    add(hi);
}

void BBox::add(const QMArray<QMVector3f>& points) {
    for (const QMVector3f& p : points) add(p);
}

QMVector3f BBox::getCenter() const { return (m_min + m_max) / 2.0f; }

float BBox::getMaxSize() const {
    const float dx = m_max.x - m_min.x;
    const float dy = m_max.y - m_min.y;
    const float dz = m_max.z - m_min.z;
    float s = dx;
    if (dy > s) s = dy;
    if (dz > s) s = dz;
    return s;
}

float BBox::getMinSize() const {
    const float dx = m_max.x - m_min.x;
    const float dy = m_max.y - m_min.y;
    const float dz = m_max.z - m_min.z;
    float s = dx;
    if (dy < s) s = dy;
    if (dz < s) s = dz;
    return s;
}

float BBox::getDiameter() const {
    const float dx = m_max.x - m_min.x;
    const float dy = m_max.y - m_min.y;
    const float dz = m_max.z - m_min.z;
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

float BBox::getArea() const {
    const float dx = m_max.x - m_min.x;
    const float dy = m_max.y - m_min.y;
    const float dz = m_max.z - m_min.z;
    return 2.0f * (dx * dy + dy * dz + dz * dx);
}

namespace {

// Closed-interval overlap: max of the lows <= min of the highs. This is also
// false when either interval is empty (high < low).
bool intervalsOverlap(float lo1, float hi1, float lo2, float hi2) {
    const float lo = lo1 > lo2 ? lo1 : lo2;
    const float hi = hi1 < hi2 ? hi1 : hi2;
    return lo <= hi;
}

}  // namespace

bool BBox::intersectBBox(const BBox& other) const {
    return intervalsOverlap(m_min.x, m_max.x, other.m_min.x, other.m_max.x) &&
           intervalsOverlap(m_min.y, m_max.y, other.m_min.y, other.m_max.y) &&
           intervalsOverlap(m_min.z, m_max.z, other.m_min.z, other.m_max.z);
}

bool BBox::getMinMaxDistance2(const QMVector3f& p, float& min2, float& max2) const {
    if (!isInitialized()) return false;
    const float pc[3] = {p.x, p.y, p.z};
    const float lo[3] = {m_min.x, m_min.y, m_min.z};
    const float hi[3] = {m_max.x, m_max.y, m_max.z};
    float near2 = 0.0f;
    float far2 = 0.0f;
    for (int a = 0; a < 3; ++a) {
        const float dl = pc[a] - lo[a];
        const float du = pc[a] - hi[a];
        const float dl2 = dl * dl;
        const float du2 = du * du;
        if (dl2 < du2) {
            near2 += dl2;
            far2 += du2;
        } else {
            near2 += du2;
            far2 += dl2;
        }
    }
    min2 = near2;
    max2 = far2;
    return true;
}

bool BBox::getNearestPointInBBoxMinMaxDistance2(const QMVector3f& p, float& min2, float& max2) const {
    if (!isInitialized()) return false;
    const float pc[3] = {p.x, p.y, p.z};
    const float lo[3] = {m_min.x, m_min.y, m_min.z};
    const float hi[3] = {m_max.x, m_max.y, m_max.z};
    float near2 = 0.0f;
    float far2 = 0.0f;
    for (int a = 0; a < 3; ++a) {
        // Nearest point: p clamped into [lo, hi]; zero offset inside.
        float dn = 0.0f;
        if (pc[a] < lo[a])
            dn = lo[a] - pc[a];
        else if (pc[a] > hi[a])
            dn = pc[a] - hi[a];
        near2 += dn * dn;
        // Farthest corner: the face plane farther from p on this axis.
        const float dl = std::fabs(pc[a] - lo[a]);
        const float du = std::fabs(pc[a] - hi[a]);
        const float df = dl > du ? dl : du;
        far2 += df * df;
    }
    min2 = near2;
    max2 = far2;
    return true;
}

bool BBox::intersectSegment(const QMVector3f& a, const QMVector3f& b, float& t) const {
    // Slab method in double: clip the parameter interval [0, 1] against the
    // pair of face planes of each axis in turn.
    if (!isInitialized()) return false;
    const double pa[3] = {a.x, a.y, a.z};
    const double pb[3] = {b.x, b.y, b.z};
    const double lo[3] = {m_min.x, m_min.y, m_min.z};
    const double hi[3] = {m_max.x, m_max.y, m_max.z};
    double tEnter = 0.0;
    double tLeave = 1.0;
    for (int i = 0; i < 3; ++i) {
        const double o = pa[i];
        const double d = pb[i] - pa[i];
        if (std::isnan(o) || std::isnan(d)) return false;
        if (d == 0.0) {
            // Parallel to this slab: inside it everywhere or nowhere.
            if (o < lo[i] || o > hi[i]) return false;
            continue;
        }
        double t0 = (lo[i] - o) / d;
        double t1 = (hi[i] - o) / d;
        if (t0 > t1) {
            const double tmp = t0;
            t0 = t1;
            t1 = tmp;
        }
        if (t0 > tEnter) tEnter = t0;
        if (t1 < tLeave) tLeave = t1;
        if (tEnter > tLeave) return false;
    }
    t = (float)tEnter;
    return true;
}

void addVerticesToBBox(BBox& box, const QMArray<QMVector3f>& points) { box.add(points); }

void getVerticesBBox(BBox& box, const QMArray<QMVector3f>& points) {
    box.clear();
    box.add(points);
}
