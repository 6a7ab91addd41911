#include "export/STLFacetNormal.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

#ifdef __SSE2__

// Component k of the four triangles' corner `corner` as one vector.
struct Corners4 {
    __m128 x, y, z;
};

Corners4 loadCorners(const QMVector3f* points, const TriangleCorners* t, int TriangleCorners::*corner) {
    const QMVector3f& a = points[t[0].*corner];
    const QMVector3f& b = points[t[1].*corner];
    const QMVector3f& c = points[t[2].*corner];
    const QMVector3f& d = points[t[3].*corner];
    return {_mm_setr_ps(a.x, b.x, c.x, d.x), _mm_setr_ps(a.y, b.y, c.y, d.y), _mm_setr_ps(a.z, b.z, c.z, d.z)};
}

// (float)((double)v / d) in lanes where d is not tiny, v itself elsewhere, as
// QMVector3f::normalize does; tiny lanes divide by 1 so that no flag is raised.
__m128d divideUnlessTiny(__m128d v, __m128d d) {
    const __m128d tiny = _mm_and_pd(_mm_cmpgt_pd(d, _mm_set1_pd(-1e-24)), _mm_cmplt_pd(d, _mm_set1_pd(1e-24)));
    const __m128d divisor = _mm_or_pd(_mm_andnot_pd(tiny, d), _mm_and_pd(tiny, _mm_set1_pd(1.0)));
    const __m128d quotient = _mm_div_pd(v, divisor);
    return _mm_or_pd(_mm_andnot_pd(tiny, quotient), _mm_and_pd(tiny, v));
}

__m128 normalisedComponent(__m128 v, __m128d lengthLow, __m128d lengthHigh) {
    const __m128 low = _mm_cvtpd_ps(divideUnlessTiny(_mm_cvtps_pd(v), lengthLow));
    const __m128 high = _mm_cvtpd_ps(divideUnlessTiny(_mm_cvtps_pd(_mm_movehl_ps(v, v)), lengthHigh));
    return _mm_movelh_ps(low, high);
}

void fourNormals(const QMVector3f* points, const TriangleCorners* t, QMVector3f* normals) {
    const Corners4 p0 = loadCorners(points, t, &TriangleCorners::i0);
    const Corners4 p1 = loadCorners(points, t, &TriangleCorners::i1);
    const Corners4 p2 = loadCorners(points, t, &TriangleCorners::i2);
    const __m128 ux = _mm_sub_ps(p1.x, p0.x), uy = _mm_sub_ps(p1.y, p0.y), uz = _mm_sub_ps(p1.z, p0.z);
    const __m128 wx = _mm_sub_ps(p2.x, p1.x), wy = _mm_sub_ps(p2.y, p1.y), wz = _mm_sub_ps(p2.z, p1.z);
    const __m128 nx = _mm_sub_ps(_mm_mul_ps(uy, wz), _mm_mul_ps(uz, wy));
    const __m128 ny = _mm_sub_ps(_mm_mul_ps(uz, wx), _mm_mul_ps(ux, wz));
    const __m128 nz = _mm_sub_ps(_mm_mul_ps(ux, wy), _mm_mul_ps(uy, wx));
    const __m128 squares = _mm_add_ps(_mm_add_ps(_mm_mul_ps(nx, nx), _mm_mul_ps(ny, ny)), _mm_mul_ps(nz, nz));
    const __m128 length = _mm_sqrt_ps(squares);
    const __m128d lengthLow = _mm_cvtps_pd(length);
    const __m128d lengthHigh = _mm_cvtps_pd(_mm_movehl_ps(length, length));
    const __m128 x = normalisedComponent(nx, lengthLow, lengthHigh);
    const __m128 y = normalisedComponent(ny, lengthLow, lengthHigh);
    const __m128 z = normalisedComponent(nz, lengthLow, lengthHigh);
    alignas(16) float xs[4], ys[4], zs[4];
    _mm_store_ps(xs, x);
    _mm_store_ps(ys, y);
    _mm_store_ps(zs, z);
    // Any NaN on the way makes the lane's normal NaN. Which NaN (its sign and
    // payload) depends on the order of the operands of a product or sum,
    // which the compiler chooses: such a lane is computed one at a time, as
    // the scalar writer does, so its bits are the scalar ones. Without a NaN
    // the operations give the same bits in any operand order.
    const int nanLanes =
        _mm_movemask_ps(_mm_or_ps(_mm_or_ps(_mm_cmpunord_ps(x, x), _mm_cmpunord_ps(y, y)), _mm_cmpunord_ps(z, z)));
    for (int k = 0; k < 4; ++k) {
        if (nanLanes & (1 << k)) {
            normals[k] = stlFacetNormal(points[t[k].i0], points[t[k].i1], points[t[k].i2]);
        } else {
            normals[k] = QMVector3f(xs[k], ys[k], zs[k]);
        }
    }
}

#endif

}  // namespace

void stlFacetNormals(const QMVector3f* points, const TriangleCorners* triangles, std::size_t count,
                     QMVector3f* normals) {
    std::size_t done = 0;
#ifdef __SSE2__
    for (; done + 4 <= count; done += 4) fourNormals(points, triangles + done, normals + done);
#endif
    for (; done < count; ++done) {
        const TriangleCorners& t = triangles[done];
        normals[done] = stlFacetNormal(points[t.i0], points[t.i1], points[t.i2]);
    }
}
