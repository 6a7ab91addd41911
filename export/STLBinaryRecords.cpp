#include "export/STLBinaryRecords.h"

#include "export/STLFacetLanes.h"

#include <cstring>

namespace {

// The three floats of `v`, packed as QMVector3f holds them.
char* appendXYZ(char* out, const QMVector3f& v) {
    std::memcpy(out, &v, 12);
    return out + 12;
}

char* formatOneRecord(const QMVector3f* points, const TriangleCorners& t, char* out) {
    out = appendXYZ(out, stlFacetNormal(points[t.i0], points[t.i1], points[t.i2]));
    out = appendXYZ(out, points[t.i0]);
    out = appendXYZ(out, points[t.i1]);
    out = appendXYZ(out, points[t.i2]);
    *out++ = ' ';
    *out++ = ' ';
    return out;
}

}  // namespace

char* formatSTLBinaryRecords(const QMVector3f* points, std::size_t numPoints, const TriangleCorners* triangles,
                             std::size_t count, char* out) {
    std::size_t done = 0;
#ifdef __SSE2__
    using namespace stl_facet_lanes;
    FourFacets four;
    for (; done + 4 <= count; done += 4) {
        computeFourFacets(points, numPoints, triangles + done, four);
        for (int k = 0; k < 4; ++k) {
            // Each 16-byte store's last float is overwritten by the next
            // one; the last corner is stored exactly, so nothing lands past
            // the record.
            _mm_storeu_ps(reinterpret_cast<float*>(out), four.normal[k]);
            _mm_storeu_ps(reinterpret_cast<float*>(out + 12), four.p0[k]);
            _mm_storeu_ps(reinterpret_cast<float*>(out + 24), four.p1[k]);
            storeXYZ(out + 36, four.p2[k]);
            out[48] = ' ';
            out[49] = ' ';
            out += kSTLRecordBytes;
        }
    }
#else
    (void)numPoints;
#endif
    for (; done < count; ++done) out = formatOneRecord(points, triangles[done], out);
    return out;
}
