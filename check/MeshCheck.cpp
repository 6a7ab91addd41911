#include "check/MeshCheck.h"

#include "check/UnionFind.h"
#include "export/PlacedPoints.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <stdexcept>

namespace ombrel::check {

namespace {

constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

// The bits of a coordinate, with -0 taken as 0, so that equal values match.
std::uint32_t coordinateBits(float value) {
    if (value == 0.0f) value = 0.0f;
    std::uint32_t bits;
    std::memcpy(&bits, &value, 4);
    return bits;
}

bool sameCoordinates(const QMVector3f& a, const QMVector3f& b) {
    return coordinateBits(a.x) == coordinateBits(b.x) && coordinateBits(a.y) == coordinateBits(b.y) &&
           coordinateBits(a.z) == coordinateBits(b.z);
}

std::uint64_t hashOf(const QMVector3f& p) {
    std::uint64_t h = coordinateBits(p.x) * 0x9E3779B97F4A7C15ull;
    h ^= coordinateBits(p.y) + 0x7F4A7C159E3779B9ull + (h << 6) + (h >> 2);
    h ^= coordinateBits(p.z) + 0x94D049BB133111EBull + (h << 6) + (h >> 2);
    return h ^ (h >> 29);
}

// Gives every point the index of the first point with its coordinates: the
// vertices edges are matched by. An open-addressing table of point indices,
// at most half full.
std::vector<std::uint32_t> matchEqualPoints(const PlacedPoints& points) {
    const std::size_t n = points.size();
    std::size_t capacity = 16;
    while (capacity < 2 * n) capacity *= 2;
    std::vector<std::uint32_t> table(capacity, kNone);
    std::vector<std::uint32_t> vertexOf(n);
    for (std::size_t i = 0; i < n; ++i) {
        std::size_t slot = hashOf(points[i]) & (capacity - 1);
        for (;; slot = (slot + 1) & (capacity - 1)) {
            if (table[slot] == kNone) {
                table[slot] = static_cast<std::uint32_t>(i);
                vertexOf[i] = static_cast<std::uint32_t>(i);
                break;
            }
            if (sameCoordinates(points[table[slot]], points[i])) {
                vertexOf[i] = table[slot];
                break;
            }
        }
    }
    return vertexOf;
}


// The edges of the triangles, kept with their smaller vertex: for vertex v,
// the entries from begin(v) to end(v), each the other vertex times two plus
// 1 when the edge runs from it to v. Counted first, then filled from each
// list's end, so it takes four bytes an edge and four a vertex.
class EdgeLists {
public:
    explicit EdgeLists(std::size_t vertices) : m_first(vertices + 1, 0) {}
    void count(std::uint32_t a, std::uint32_t b) { ++m_first[std::min(a, b) + 1]; }
    void allocate() {
        std::uint64_t total = 0;
        for (std::size_t v = 1; v < m_first.size(); ++v) {
            total += m_first[v];
            // Offsets are kept in 32 bits: a mesh of over a billion faces is
            // more than one check holds.
            if (total > std::numeric_limits<std::uint32_t>::max()) throw std::length_error("too many edges");
            m_first[v] = static_cast<std::uint32_t>(total);
        }
        m_total = static_cast<std::uint32_t>(total);
        m_entries.reset(new std::uint32_t[m_total]);
    }
    // After every add, m_first[v + 1] is where the list of v begins.
    void add(std::uint32_t from, std::uint32_t to) {
        const std::uint32_t low = std::min(from, to), high = std::max(from, to);
        m_entries[--m_first[low + 1]] = 2 * high + (from == high ? 1u : 0u);
    }
    std::size_t vertices() const { return m_first.size() - 1; }
    std::uint32_t* begin(std::size_t v) { return m_entries.get() + m_first[v + 1]; }
    std::uint32_t* end(std::size_t v) { return m_entries.get() + (v + 2 < m_first.size() ? m_first[v + 2] : m_total); }

private:
    std::vector<std::uint32_t> m_first;
    std::uint32_t m_total = 0;
    std::unique_ptr<std::uint32_t[]> m_entries;
};

double length(double x, double y, double z) { return std::sqrt(x * x + y * y + z * z); }

// The signed volume of the tetrahedron of a triangle with the origin.
double tetrahedronVolume(const QMVector3f& p, const QMVector3f& q, const QMVector3f& r) {
    return (double(p.x) * (double(q.y) * r.z - double(q.z) * r.y) -
            double(p.y) * (double(q.x) * r.z - double(q.z) * r.x) +
            double(p.z) * (double(q.x) * r.y - double(q.y) * r.x)) /
           6.0;
}

// A triangle of a shell whose volume is summed again.
struct ShellTriangle {
    std::uint32_t v[3];
    std::uint32_t shell;
};

// The volume of one closed, manifold shell whose triangles disagree in
// orientation: each triangle is turned to agree with the first one reached,
// walking across shared edges, and the volumes summed with those turns.
double reorientedVolume(const PlacedPoints& points, const std::vector<ShellTriangle>& all, std::uint32_t shell) {
    std::vector<std::size_t> mine;
    for (std::size_t t = 0; t < all.size(); ++t)
        if (all[t].shell == shell) mine.push_back(t);
    // Each edge's triangles, and whether each runs it from the lower vertex.
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::vector<std::pair<std::size_t, bool>>> edgeUses;
    for (std::size_t i = 0; i < mine.size(); ++i) {
        const std::uint32_t* v = all[mine[i]].v;
        for (int k = 0; k < 3; ++k) {
            const std::uint32_t a = v[k], b = v[(k + 1) % 3];
            edgeUses[{std::min(a, b), std::max(a, b)}].push_back({i, a < b});
        }
    }
    std::vector<int> turn(mine.size(), 0);  // +1 kept, -1 turned, 0 not reached
    double volume = 0.0;
    for (std::size_t start = 0; start < mine.size(); ++start) {
        if (turn[start] != 0) continue;
        turn[start] = 1;
        std::vector<std::size_t> pending{start};
        while (!pending.empty()) {
            const std::size_t i = pending.back();
            pending.pop_back();
            const std::uint32_t* v = all[mine[i]].v;
            volume += turn[i] * tetrahedronVolume(points[v[0]], points[v[1]], points[v[2]]);
            for (int k = 0; k < 3; ++k) {
                const std::uint32_t a = v[k], b = v[(k + 1) % 3];
                const auto& uses = edgeUses[{std::min(a, b), std::max(a, b)}];
                if (uses.size() != 2) continue;
                const auto& mineUse = uses[0].first == i ? uses[0] : uses[1];
                const auto& other = uses[0].first == i ? uses[1] : uses[0];
                if (turn[other.first] != 0) continue;
                // Running the edge the same way means one of them is turned.
                turn[other.first] = other.second == mineUse.second ? -turn[i] : turn[i];
                pending.push_back(other.first);
            }
        }
    }
    return volume;
}

// A triangle whose corners repeat a vertex has no edges of its own.
bool isProper(std::uint32_t a, std::uint32_t b, std::uint32_t c) { return a != b && b != c && a != c; }

// The edges around a face: three for a triangle, the four outer ones for a
// quad (its diagonal is its own two triangles' only).
template <class Edge>
void forEachEdge(const std::uint32_t* v, bool isQuad, const Edge& edge) {
    if (!isQuad) {
        if (isProper(v[0], v[1], v[2])) {
            edge(v[0], v[1]);
            edge(v[1], v[2]);
            edge(v[2], v[0]);
        }
        return;
    }
    const bool first = isProper(v[0], v[1], v[2]), second = isProper(v[0], v[2], v[3]);
    if (first && second) {
        edge(v[0], v[1]);
        edge(v[1], v[2]);
        edge(v[2], v[3]);
        edge(v[3], v[0]);
        return;
    }
    if (first) {
        edge(v[0], v[1]);
        edge(v[1], v[2]);
        edge(v[2], v[0]);
    }
    if (second) {
        edge(v[0], v[2]);
        edge(v[2], v[3]);
        edge(v[3], v[0]);
    }
}

QMVector3f lower(const QMVector3f& a, const QMVector3f& b) {
    return QMVector3f(std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z));
}
QMVector3f upper(const QMVector3f& a, const QMVector3f& b) {
    return QMVector3f(std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z));
}

}  // namespace

MeshCheck::MeshCheck(const MeshSource& mesh, const QMMatrix4f* matrix) {
    const std::size_t numFaces = mesh.numFaces();
    if (numFaces == 0) return;
    // Vertex numbers are kept in 31 bits beside an edge's direction.
    if (mesh.numPoints() >= (std::size_t(1) << 31)) throw std::bad_alloc();
    const PlacedPoints points(mesh, matrix);
    const std::vector<std::uint32_t> vertexOf = matchEqualPoints(points);
    const std::size_t numPoints = points.size();
    const auto inRange = [numPoints](int index) { return index >= 0 && std::size_t(index) < numPoints; };

    // The faces in blocks, as the mesh gives them, skipped as the writer
    // skips them; each face's corners as vertices.
    constexpr std::size_t kBlock = 4096;
    std::vector<std::int32_t> block(4 * kBlock);
    const auto forEachFace = [&](auto&& visit) {
        for (std::size_t first = 0; first < numFaces; first += kBlock) {
            const std::size_t count = std::min(kBlock, numFaces - first);
            mesh.readFaces(first, count, block.data());
            for (std::size_t f = 0; f < count; ++f) {
                const std::int32_t* face = &block[4 * f];
                const bool isQuad = face[3] != -1;
                if (!inRange(face[0]) || !inRange(face[1]) || !inRange(face[2]) || (isQuad && !inRange(face[3])))
                    continue;
                const std::uint32_t v[4] = {vertexOf[face[0]], vertexOf[face[1]], vertexOf[face[2]],
                                            isQuad ? vertexOf[face[3]] : kNone};
                visit(v, isQuad);
            }
        }
    };

    // Triangles, areas, degenerate ones, and the pieces they join.
    UnionFind<std::uint32_t> pieces(numPoints);
    EdgeLists edges(numPoints);
    const auto triangle = [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        ++m_figures.triangles;
        const QMVector3f& p = points[a];
        const QMVector3f& q = points[b];
        const QMVector3f& r = points[c];
        const double ux = double(q.x) - p.x, uy = double(q.y) - p.y, uz = double(q.z) - p.z;
        const double wx = double(r.x) - p.x, wy = double(r.y) - p.y, wz = double(r.z) - p.z;
        const double area = 0.5 * length(uy * wz - uz * wy, uz * wx - ux * wz, ux * wy - uy * wx);
        m_figures.surfaceArea += area;
        if (area == 0.0 || !isProper(a, b, c)) ++m_figures.degenerateTriangles;
        pieces.join(a, b);
        pieces.join(a, c);
    };
    forEachFace([&](const std::uint32_t* v, bool isQuad) {
        triangle(v[0], v[1], v[2]);
        if (isQuad) triangle(v[0], v[2], v[3]);
        forEachEdge(v, isQuad, [&](std::uint32_t a, std::uint32_t b) { edges.count(a, b); });
    });
    edges.allocate();
    forEachFace([&](const std::uint32_t* v, bool isQuad) {
        forEachEdge(v, isQuad, [&](std::uint32_t a, std::uint32_t b) { edges.add(a, b); });
    });

    // Shells: the pieces that hold a triangle, numbered as first met.
    std::vector<std::uint32_t> shellOf(numPoints, kNone);
    const auto shellAt = [&](std::uint32_t vertex) {
        const std::uint32_t root = pieces.find(vertex);
        if (shellOf[root] == kNone) {
            shellOf[root] = static_cast<std::uint32_t>(m_shells.size());
            Shell shell;
            shell.min = shell.max = points[vertex];
            m_shells.push_back(shell);
        }
        return shellOf[root];
    };
    // Each shell's box, and its signed volume: the tetrahedra of its
    // triangles with the origin.
    forEachFace([&](const std::uint32_t* v, bool isQuad) {
        Shell& shell = m_shells[shellAt(v[0])];
        for (int j = 0; j < (isQuad ? 4 : 3); ++j) {
            shell.min = lower(shell.min, points[v[j]]);
            shell.max = upper(shell.max, points[v[j]]);
        }
        shell.signedVolume += tetrahedronVolume(points[v[0]], points[v[1]], points[v[2]]);
        if (isQuad) shell.signedVolume += tetrahedronVolume(points[v[0]], points[v[2]], points[v[3]]);
    });

    // Each edge's uses: one is open, two running opposite ways are sound,
    // two the same way are flipped, three or more are non-manifold.
    for (std::size_t v = 0; v < edges.vertices(); ++v) {
        std::uint32_t* first = edges.begin(v);
        std::uint32_t* last = edges.end(v);
        if (first == last) continue;
        std::sort(first, last);
        const std::uint32_t shellIndex = shellAt(static_cast<std::uint32_t>(v));
        while (first != last) {
            std::uint32_t* group = first;
            while (first != last && (*first >> 1) == (*group >> 1)) ++first;
            const std::size_t uses = std::size_t(first - group);
            const std::uint32_t other = *group >> 1;
            Shell& shell = m_shells[shellIndex];
            if (uses == 1) {
                ++m_figures.openEdges;
                ++shell.openEdges;
                const bool fromOther = (*group & 1u) != 0;
                m_openEdges.push_back(
                    {fromOther ? points[other] : points[v], fromOther ? points[v] : points[other], shellIndex});
            } else if (uses == 2) {
                if ((group[0] & 1u) == (group[1] & 1u)) {
                    ++m_figures.flippedEdges;
                    ++shell.flippedEdges;
                }
            } else {
                ++m_figures.nonManifoldEdges;
                shell.nonManifold = true;
            }
        }
    }

    m_figures.shells = m_shells.size();
    if (m_shells.empty()) return;  // every face was skipped

    // Closed shells with flipped triangles: their triangles turned to agree,
    // then their volume summed again.
    std::vector<bool> reorient(m_shells.size(), false);
    bool anyToReorient = false;
    for (std::size_t s = 0; s < m_shells.size(); ++s) {
        const Shell& shell = m_shells[s];
        reorient[s] = shell.flippedEdges != 0 && shell.openEdges == 0 && !shell.nonManifold;
        anyToReorient = anyToReorient || reorient[s];
    }
    if (anyToReorient) {
        std::vector<ShellTriangle> triangles;
        forEachFace([&](const std::uint32_t* v, bool isQuad) {
            const std::uint32_t s = shellAt(v[0]);
            if (!reorient[s]) return;
            if (isProper(v[0], v[1], v[2])) triangles.push_back({{v[0], v[1], v[2]}, s});
            if (isQuad && isProper(v[0], v[2], v[3])) triangles.push_back({{v[0], v[2], v[3]}, s});
        });
        for (std::size_t s = 0; s < m_shells.size(); ++s)
            if (reorient[s]) m_shells[s].signedVolume = reorientedVolume(points, triangles, std::uint32_t(s));
    }

    QMVector3f min = m_shells.front().min, max = m_shells.front().max;
    for (const Shell& shell : m_shells) {
        if (shell.openEdges == 0 && !shell.nonManifold) {
            ++m_figures.closedShells;
            m_figures.volume += std::fabs(shell.signedVolume);
        }
        min = lower(min, shell.min);
        max = upper(max, shell.max);
    }
    m_figures.size[0] = double(max.x) - min.x;
    m_figures.size[1] = double(max.y) - min.y;
    m_figures.size[2] = double(max.z) - min.z;
}

}  // namespace ombrel::check
