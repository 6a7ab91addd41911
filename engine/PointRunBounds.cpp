#include "engine/PointRunBounds.h"

#include <cmath>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace ombrel::engine {

namespace {

bool isFinitePoint(const QMVector3f& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }

// One coordinate of a box that holds a point, moved by one value as BBox::add
// moves it.
void moveCoordinate(float& lo, float& hi, float value) {
    if (lo > value)
        lo = value;
    else if (value > hi)
        hi = value;
}

// Folds the points [first, end) into `run`, one at a time.
void foldOneByOne(const QMVector3f* points, std::size_t first, std::size_t end, bool finiteOnly, PointRunBounds& run) {
    for (std::size_t i = first; i < end; ++i) {
        const QMVector3f& p = points[i];
        if (finiteOnly && !isFinitePoint(p)) continue;
        const float values[3] = {p.x, p.y, p.z};
        for (int k = 0; k < 3; ++k) {
            const float v = values[k];
            if (v != v) continue;  // NaN
            if (!run.has[k]) {
                run.lo[k] = run.hi[k] = v;
                run.has[k] = true;
            } else if (v < run.lo[k]) {
                run.lo[k] = v;
            } else if (v > run.hi[k]) {
                run.hi[k] = v;
            }
        }
    }
}

#ifdef __SSE2__

// Four points at a time: three vectors of four floats, x0 y0 z0 x1 | y1 z1 x2
// y2 | z2 x3 y3 z3, each lane folding the values of one coordinate that pass
// through it. A minimum taken as min(value, lowest) keeps the lowest on a tie
// and skips a NaN value, as the one-by-one fold does; so does the maximum.
// Lanes are merged by value; the one tie whose pick shows in the bits, +0
// against -0, is settled afterwards (settleZeros).
struct LaneFold {
    __m128 lo[3], hi[3], seen[3];

    LaneFold() {
        for (int v = 0; v < 3; ++v) {
            lo[v] = _mm_set1_ps(INFINITY);
            hi[v] = _mm_set1_ps(-INFINITY);
            seen[v] = _mm_setzero_ps();
        }
    }

    void add(const __m128 values[3]) {
        for (int v = 0; v < 3; ++v) {
            lo[v] = _mm_min_ps(values[v], lo[v]);
            hi[v] = _mm_max_ps(values[v], hi[v]);
            seen[v] = _mm_or_ps(seen[v], _mm_cmpord_ps(values[v], values[v]));
        }
    }

    // Merges the lanes into `run`, whose has/lo/hi fold no value yet.
    void mergeInto(PointRunBounds& run) const {
        alignas(16) float los[12], his[12];
        int seenMask[3];
        for (int v = 0; v < 3; ++v) {
            _mm_store_ps(los + 4 * v, lo[v]);
            _mm_store_ps(his + 4 * v, hi[v]);
            seenMask[v] = _mm_movemask_ps(seen[v]);
        }
        for (int slot = 0; slot < 12; ++slot) {
            if ((seenMask[slot / 4] & (1 << (slot % 4))) == 0) continue;
            const int k = slot % 3;  // the coordinate the lane folds
            if (!run.has[k]) {
                run.lo[k] = los[slot];
                run.hi[k] = his[slot];
                run.has[k] = true;
                continue;
            }
            if (los[slot] < run.lo[k]) run.lo[k] = los[slot];
            if (his[slot] > run.hi[k]) run.hi[k] = his[slot];
        }
    }
};

// Whether any of the twelve floats is infinite or NaN.
bool anyNonFinite(const __m128 values[3]) {
    const __m128i exponent = _mm_set1_epi32(0x7f800000);
    __m128i all = _mm_setzero_si128();
    for (int v = 0; v < 3; ++v) {
        const __m128i bits = _mm_and_si128(_mm_castps_si128(values[v]), exponent);
        all = _mm_or_si128(all, _mm_cmpeq_epi32(bits, exponent));
    }
    return _mm_movemask_epi8(all) != 0;
}

// Four points whose non-finite ones count as NaN in every coordinate, so
// that the fold leaves them out.
void blankNonFinitePoints(const QMVector3f* points, __m128 values[3]) {
    alignas(16) float floats[12];
    std::memcpy(floats, points, sizeof floats);
    for (int p = 0; p < 4; ++p)
        if (!isFinitePoint(points[p]))
            for (int k = 0; k < 3; ++k) floats[3 * p + k] = NAN;
    for (int v = 0; v < 3; ++v) values[v] = _mm_load_ps(floats + 4 * v);
}

#endif

// A bound that came out zero takes the sign of the first zero among the
// values folded: the one-by-one fold keeps the first of equal values, and
// +0 and -0 are the only equal values with different bits.
void settleZeros(const QMVector3f* points, std::size_t first, std::size_t end, bool finiteOnly, PointRunBounds& run) {
    for (int k = 0; k < 3; ++k) {
        if (!run.has[k] || (run.lo[k] != 0.0f && run.hi[k] != 0.0f)) continue;
        for (std::size_t i = first; i < end; ++i) {
            if (finiteOnly && !isFinitePoint(points[i])) continue;
            const float v = k == 0 ? points[i].x : k == 1 ? points[i].y : points[i].z;
            if (v != 0.0f) continue;
            if (run.lo[k] == 0.0f) run.lo[k] = v;
            if (run.hi[k] == 0.0f) run.hi[k] = v;
            break;
        }
    }
}

}  // namespace

PointRunBounds foldPointRun(const QMVector3f* points, std::size_t count, bool finiteOnly) {
    PointRunBounds run;
    std::size_t i = 0;
    for (; i < count && !run.any; ++i) {
        if (finiteOnly && !isFinitePoint(points[i])) continue;
        run.first = points[i];
        run.any = true;
    }
    const std::size_t foldedFrom = i;
#ifdef __SSE2__
    if (count - i >= 4) {
        LaneFold lanes;
        for (; i + 4 <= count; i += 4) {
            __m128 values[3];
            const float* floats = &points[i].x;
            for (int v = 0; v < 3; ++v) values[v] = _mm_loadu_ps(floats + 4 * v);
            if (finiteOnly && anyNonFinite(values)) blankNonFinitePoints(points + i, values);
            lanes.add(values);
        }
        lanes.mergeInto(run);
    }
#endif
    foldOneByOne(points, i, count, finiteOnly, run);
    settleZeros(points, foldedFrom, count, finiteOnly, run);
    return run;
}

void addPointRun(BBox& box, const PointRunBounds& run) {
    if (!run.any) return;
    box.add(run.first);
    float* lo[3] = {&box.m_min.x, &box.m_min.y, &box.m_min.z};
    float* hi[3] = {&box.m_max.x, &box.m_max.y, &box.m_max.z};
    for (int k = 0; k < 3; ++k) {
        if (!run.has[k]) continue;
        moveCoordinate(*lo[k], *hi[k], run.lo[k]);
        moveCoordinate(*lo[k], *hi[k], run.hi[k]);
    }
}

}  // namespace ombrel::engine
