#include "geometry/PointArrayTransform.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

#ifdef __SSE2__

// The matrix's sixteen elements in double, each in both lanes.
struct MatrixLanes {
    __m128d e[16];
    explicit MatrixLanes(const QMMatrix4f& m) {
        for (int i = 0; i < 16; ++i) e[i] = _mm_set1_pd(m.m_data[i]);
    }
    // ((m[r] x + m[4+r] y) + m[8+r] z) + m[12+r], as multVec3f sums a row.
    __m128d row(int r, __m128d x, __m128d y, __m128d z) const {
        __m128d acc = _mm_mul_pd(e[r], x);
        acc = _mm_add_pd(acc, _mm_mul_pd(e[4 + r], y));
        acc = _mm_add_pd(acc, _mm_mul_pd(e[8 + r], z));
        return _mm_add_pd(acc, e[12 + r]);
    }
};

// Points p and p + 1 placed; false (nothing stored) when a result is NaN.
bool placeTwo(const MatrixLanes& m, QMVector3f* p) {
    const __m128d x = _mm_setr_pd(p[0].x, p[1].x);
    const __m128d y = _mm_setr_pd(p[0].y, p[1].y);
    const __m128d z = _mm_setr_pd(p[0].z, p[1].z);
    const __m128d w = m.row(3, x, y, z);
    const __m128d wIsZero = _mm_cmpeq_pd(w, _mm_setzero_pd());
    // Lanes with w exactly 0 give (0, 0, 0) and divide by 1 meanwhile, so
    // that no flag is raised.
    const __m128d divisor = _mm_or_pd(_mm_andnot_pd(wIsZero, w), _mm_and_pd(wIsZero, _mm_set1_pd(1.0)));
    __m128d r[3];
    for (int k = 0; k < 3; ++k) r[k] = _mm_andnot_pd(wIsZero, _mm_div_pd(m.row(k, x, y, z), divisor));
    const __m128d nan = _mm_or_pd(_mm_or_pd(_mm_cmpunord_pd(r[0], r[0]), _mm_cmpunord_pd(r[1], r[1])),
                                  _mm_cmpunord_pd(r[2], r[2]));
    if (_mm_movemask_pd(nan) != 0) return false;
    alignas(16) float out[3][4];
    for (int k = 0; k < 3; ++k) _mm_store_ps(out[k], _mm_cvtpd_ps(r[k]));
    p[0] = QMVector3f(out[0][0], out[1][0], out[2][0]);
    p[1] = QMVector3f(out[0][1], out[1][1], out[2][1]);
    return true;
}

#endif

}  // namespace

void multVec3fInPlace(const QMMatrix4f& m, QMVector3f* points, std::size_t count) {
    std::size_t i = 0;
#ifdef __SSE2__
    const MatrixLanes lanes(m);
    for (; i + 2 <= count; i += 2) {
        if (placeTwo(lanes, points + i)) continue;
        points[i] = m.multVec3f(points[i]);
        points[i + 1] = m.multVec3f(points[i + 1]);
    }
#endif
    for (; i < count; ++i) points[i] = m.multVec3f(points[i]);
}
