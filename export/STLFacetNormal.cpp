#include "export/STLFacetNormal.h"

#include "export/STLFacetLanes.h"

QMVector3f stlFacetNormal(const QMVector3f& p0, const QMVector3f& p1, const QMVector3f& p2) {
    QMVector3f u, w, n;
    QMVector3f::sub(u, p1, p0);
    QMVector3f::sub(w, p2, p1);
    n.x = u.y * w.z - u.z * w.y;
    n.y = u.z * w.x - u.x * w.z;
    n.z = u.x * w.y - u.y * w.x;
    n.normalize();
    return n;
}

void stlFacetNormals(const QMVector3f* points, std::size_t numPoints, const TriangleCorners* triangles,
                     std::size_t count, QMVector3f* normals) {
    std::size_t done = 0;
#ifdef __SSE2__
    stl_facet_lanes::FourFacets four;
    for (; done + 4 <= count; done += 4) {
        stl_facet_lanes::computeFourFacets(points, numPoints, triangles + done, four);
        for (int k = 0; k < 4; ++k) stl_facet_lanes::storeXYZ(&normals[done + k].x, four.normal[k]);
    }
#else
    (void)numPoints;
#endif
    for (; done < count; ++done) {
        const TriangleCorners& t = triangles[done];
        normals[done] = stlFacetNormal(points[t.i0], points[t.i1], points[t.i2]);
    }
}
