#pragma once

// The STL writer's facet normals of four triangles at once in SSE2 lanes,
// for the batched normals and the binary records. Each lane does the IEEE
// operations of stlFacetNormal in its order: float differences and products,
// a float square root, and per component a float division. The scalar
// normalisation divides the two floats widened to double and rounds the
// quotient to float; double has more than twice float's precision, so that
// rounding twice gives the correctly rounded float quotient, which is what
// the float division gives (and what the compiler emits for the scalar code
// too). So every normal has stlFacetNormal's bits.

#include "export/STLFacetNormal.h"

#include <cstddef>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>

namespace stl_facet_lanes {

// Point i as (x, y, z, anything). Reads the first float of point i + 1 too,
// except for the last point, whose three floats are read alone.
inline __m128 loadPoint(const QMVector3f* points, std::size_t numPoints, int i) {
    const float* p = &points[i].x;
    if (static_cast<std::size_t>(i) + 1 < numPoints) return _mm_loadu_ps(p);
    return _mm_setr_ps(p[0], p[1], p[2], 0.0f);
}

// Four triangles' corners, one (x, y, z, -) vector per triangle and corner,
// and their normals, one (x, y, z, 0) vector per triangle.
struct FourFacets {
    __m128 p0[4], p1[4], p2[4];
    __m128 normal[4];
};

// The smallest float that is not below 1e-24 in double: a length below it
// leaves the cross product as it is, as QMVector3f::normalize does.
inline float tinyLengthLimit() {
    static const float limit = [] {
        float f = 1e-24f;
        while (static_cast<double>(f) < 1e-24) f = __builtin_nextafterf(f, 1.0f);
        while (static_cast<double>(__builtin_nextafterf(f, 0.0f)) >= 1e-24) f = __builtin_nextafterf(f, 0.0f);
        return f;
    }();
    return limit;
}

// Loads triangles t[0..3] of `points` and computes their normals.
inline void computeFourFacets(const QMVector3f* points, std::size_t numPoints, const TriangleCorners* t,
                              FourFacets& f) {
    for (int k = 0; k < 4; ++k) {
        f.p0[k] = loadPoint(points, numPoints, t[k].i0);
        f.p1[k] = loadPoint(points, numPoints, t[k].i1);
        f.p2[k] = loadPoint(points, numPoints, t[k].i2);
    }
    // Components across the four triangles: x0 holds the x of every p0.
    __m128 x0 = f.p0[0], y0 = f.p0[1], z0 = f.p0[2], w0 = f.p0[3];
    _MM_TRANSPOSE4_PS(x0, y0, z0, w0);
    __m128 x1 = f.p1[0], y1 = f.p1[1], z1 = f.p1[2], w1 = f.p1[3];
    _MM_TRANSPOSE4_PS(x1, y1, z1, w1);
    __m128 x2 = f.p2[0], y2 = f.p2[1], z2 = f.p2[2], w2 = f.p2[3];
    _MM_TRANSPOSE4_PS(x2, y2, z2, w2);

    const __m128 ux = _mm_sub_ps(x1, x0), uy = _mm_sub_ps(y1, y0), uz = _mm_sub_ps(z1, z0);
    const __m128 wx = _mm_sub_ps(x2, x1), wy = _mm_sub_ps(y2, y1), wz = _mm_sub_ps(z2, z1);
    __m128 nx = _mm_sub_ps(_mm_mul_ps(uy, wz), _mm_mul_ps(uz, wy));
    __m128 ny = _mm_sub_ps(_mm_mul_ps(uz, wx), _mm_mul_ps(ux, wz));
    __m128 nz = _mm_sub_ps(_mm_mul_ps(ux, wy), _mm_mul_ps(uy, wx));
    const __m128 squares = _mm_add_ps(_mm_add_ps(_mm_mul_ps(nx, nx), _mm_mul_ps(ny, ny)), _mm_mul_ps(nz, nz));
    const __m128 length = _mm_sqrt_ps(squares);
    // Tiny lanes divide by 1, so that no flag is raised, and keep the cross
    // product. A NaN length is not tiny.
    const __m128 tiny = _mm_cmplt_ps(length, _mm_set1_ps(tinyLengthLimit()));
    const __m128 divisor = _mm_or_ps(_mm_andnot_ps(tiny, length), _mm_and_ps(tiny, _mm_set1_ps(1.0f)));
    nx = _mm_or_ps(_mm_andnot_ps(tiny, _mm_div_ps(nx, divisor)), _mm_and_ps(tiny, nx));
    ny = _mm_or_ps(_mm_andnot_ps(tiny, _mm_div_ps(ny, divisor)), _mm_and_ps(tiny, ny));
    nz = _mm_or_ps(_mm_andnot_ps(tiny, _mm_div_ps(nz, divisor)), _mm_and_ps(tiny, nz));
    // Any NaN on the way makes the lane's normal NaN. Which NaN (its sign and
    // payload) depends on the order of the operands of a product or sum,
    // which the compiler chooses: such a lane is computed one at a time, as
    // the scalar writer does, so its bits are the scalar ones. Without a NaN
    // the operations give the same bits in any operand order.
    const int nanLanes =
        _mm_movemask_ps(_mm_or_ps(_mm_or_ps(_mm_cmpunord_ps(nx, nx), _mm_cmpunord_ps(ny, ny)), _mm_cmpunord_ps(nz, nz)));
    __m128 n3 = _mm_setzero_ps();
    _MM_TRANSPOSE4_PS(nx, ny, nz, n3);
    f.normal[0] = nx;
    f.normal[1] = ny;
    f.normal[2] = nz;
    f.normal[3] = n3;
    if (nanLanes == 0) return;
    for (int k = 0; k < 4; ++k) {
        if ((nanLanes & (1 << k)) == 0) continue;
        const QMVector3f n = stlFacetNormal(points[t[k].i0], points[t[k].i1], points[t[k].i2]);
        f.normal[k] = _mm_setr_ps(n.x, n.y, n.z, 0.0f);
    }
}

// Writes the x, y, z of `v` (12 bytes) at `out`.
inline void storeXYZ(void* out, __m128 v) {
    _mm_storel_pi(static_cast<__m64*>(out), v);
    const float z = _mm_cvtss_f32(_mm_movehl_ps(v, v));
    std::memcpy(static_cast<char*>(out) + 8, &z, 4);
}

}  // namespace stl_facet_lanes

#endif
