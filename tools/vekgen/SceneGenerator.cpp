#include "tools/vekgen/SceneGenerator.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <limits>
#include <optional>
#include <stdexcept>

namespace vekgen {

namespace {

// ------------------------------------------------------------ arithmetic

struct Vec3 {
    double x = 0, y = 0, z = 0;
};

Vec3 operator+(Vec3 a, Vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
Vec3 operator*(Vec3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
Vec3 mul(Vec3 a, Vec3 b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
Vec3 normalized(Vec3 a) {
    const double len = std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z);
    return {a.x / len, a.y / len, a.z / len};
}

// splitmix64 finaliser: the only source of randomness.
std::uint64_t mix64(std::uint64_t z) {
    z += 0x9E3779B97F4A7C15ULL;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

// A hash as a double in [0, 1), converted through two exact 32-bit halves.
double unitFromHash(std::uint64_t h) {
    const std::uint64_t m = h >> 11;  // 53 bits
    const auto hi = static_cast<std::uint32_t>(m >> 32);
    const auto lo = static_cast<std::uint32_t>(m & 0xFFFFFFFFu);
    return (static_cast<double>(hi) * 4294967296.0 + static_cast<double>(lo)) * (1.0 / 9007199254740992.0);
}

std::int32_t floorToInt(double v) {
    const auto i = static_cast<std::int32_t>(v);
    return static_cast<double>(i) > v ? i - 1 : i;
}

std::uint64_t isqrt(std::uint64_t v) {
    auto r = static_cast<std::uint64_t>(std::sqrt(static_cast<double>(v)));
    while (r > 0 && r * r > v) --r;
    while ((r + 1) * (r + 1) <= v) ++r;
    return r;
}

// Smooth 3D value noise on the integer lattice, summed over three octaves.
class ValueNoise {
public:
    explicit ValueNoise(std::uint64_t seed) : m_seed(mix64(seed ^ 0x6A09E667F3BCC909ULL)) {}

    // Roughly in [-1, 1].
    double fbm(Vec3 p) const {
        return 0.58 * value(p) + 0.29 * value(p * 2.3 + Vec3{5.2, 1.3, 7.9}) +
               0.13 * value(p * 5.1 + Vec3{2.7, 9.1, 4.4});
    }

private:
    double corner(std::int32_t x, std::int32_t y, std::int32_t z) const {
        const std::uint64_t h = mix64(m_seed ^ (std::uint64_t(std::uint32_t(x)) * 0x9E3779B97F4A7C15ULL) ^
                                      (std::uint64_t(std::uint32_t(y)) * 0xC2B2AE3D27D4EB4FULL) ^
                                      (std::uint64_t(std::uint32_t(z)) * 0x165667B19E3779F9ULL));
        return 2.0 * unitFromHash(h) - 1.0;
    }

    static double smooth(double f) { return f * f * (3.0 - 2.0 * f); }
    static double lerp(double a, double b, double t) { return a + (b - a) * t; }

    double value(Vec3 p) const {
        const std::int32_t ix = floorToInt(p.x), iy = floorToInt(p.y), iz = floorToInt(p.z);
        const double sx = smooth(p.x - ix), sy = smooth(p.y - iy), sz = smooth(p.z - iz);
        const double x00 = lerp(corner(ix, iy, iz), corner(ix + 1, iy, iz), sx);
        const double x10 = lerp(corner(ix, iy + 1, iz), corner(ix + 1, iy + 1, iz), sx);
        const double x01 = lerp(corner(ix, iy, iz + 1), corner(ix + 1, iy, iz + 1), sx);
        const double x11 = lerp(corner(ix, iy + 1, iz + 1), corner(ix + 1, iy + 1, iz + 1), sx);
        return lerp(lerp(x00, x10, sy), lerp(x01, x11, sy), sz);
    }

    std::uint64_t m_seed;
};

// `count` points around the unit circle, counter-clockwise, without
// trigonometry: points on the sides of a square, spaced through a rational
// approximation of tan so that they come out nearly evenly, then normalised.
std::vector<std::array<double, 2>> ringPoints(std::uint32_t count) {
    std::vector<std::array<double, 2>> ring(count);
    for (std::uint32_t k = 0; k < count; ++k) {
        const double t = 8.0 * k / count;  // position along the square's perimeter
        const std::int32_t side = std::min<std::int32_t>(floorToInt(t / 2.0), 3);
        const double a = (t - 2.0 * side - 1.0) * 0.78539816339744831;  // in [-pi/4, pi/4)
        const double a2 = a * a;
        const double w = a * (15.0 - a2) / (15.0 - 6.0 * a2);
        double x, y;
        switch (side) {
            case 0:
                x = 1.0, y = w;
                break;
            case 1:
                x = -w, y = 1.0;
                break;
            case 2:
                x = -1.0, y = -w;
                break;
            default:
                x = w, y = -1.0;
                break;
        }
        const double len = std::sqrt(x * x + y * y);
        ring[k] = {x / len, y / len};
    }
    return ring;
}

// ------------------------------------------------------------ materials

struct Material {
    double r, g, b;
};
constexpr Material kSkin{0.87, 0.69, 0.58};
constexpr Material kCloth{0.33, 0.45, 0.72};
constexpr Material kStone{0.58, 0.55, 0.50};
constexpr Material kHorn{0.90, 0.84, 0.52};

std::uint32_t toByte(double v) {
    const double c = v < 0.0 ? 0.0 : (v > 1.0 ? 1.0 : v);
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(c * 255.0 + 0.5));
}

// What a shape reports for each vertex.
struct Vertex {
    Vec3 p;
    double shade;  // the noise value that displaced the vertex, about [-1, 1]
    const Material* material;
};

// Quad corners (local vertex indices) and their UVs, in the face's order.
// A shape may also hand out a triangle: the first three corners, with the
// fourth UV (0, 0); triangles are never split further.
struct Quad {
    std::array<std::uint32_t, 4> idx;
    std::array<float, 8> uv;
    bool triangle = false;
};

// ------------------------------------------------------------ shapes

// A closed surface on the lattice of an n x n x n cube grid: the sphere of
// the head or the rounded box of the torso. The 6n^2 + 2 lattice points on
// the cube's surface are numbered layer by layer along k: the full bottom
// layer, then the perimeter ring of each inner layer, then the full top layer.
class CubeShape {
public:
    CubeShape(std::uint32_t n, bool rounded, Vec3 center, Vec3 scale, double amp, const ValueNoise& noise,
              const Material& material)
        : m_n(n),
          m_rounded(rounded),
          m_center(center),
          m_scale(scale),
          m_amp(amp),
          m_noise(noise),
          m_material(material) {}

    std::uint64_t vertexCount() const { return 6ull * m_n * m_n + 2; }
    std::uint64_t quadCount() const { return 6ull * m_n * m_n; }

    template <class Fn>
    void forEachVertex(Fn&& fn) const {
        const std::uint32_t n = m_n;
        for (std::uint32_t k = 0; k <= n; ++k) {
            if (k == 0 || k == n) {
                for (std::uint32_t i = 0; i <= n; ++i)
                    for (std::uint32_t j = 0; j <= n; ++j) fn(vertex(i, j, k));
            } else {
                for (std::uint32_t t = 0; t < 4 * n; ++t) {
                    std::uint32_t i, j;
                    ringToGrid(t, i, j);
                    fn(vertex(i, j, k));
                }
            }
        }
    }

    template <class Fn>
    void forEachQuad(Fn&& fn) const {
        const std::uint32_t n = m_n;
        Quad q;
        for (std::uint32_t f = 0; f < 6; ++f) {
            const std::uint32_t tx = f % 3, ty = f / 3;
            for (std::uint32_t b = 0; b < n; ++b) {
                for (std::uint32_t a = 0; a < n; ++a) {
                    static constexpr std::uint32_t da[4] = {0, 1, 1, 0};
                    static constexpr std::uint32_t db[4] = {0, 0, 1, 1};
                    for (int c = 0; c < 4; ++c) {
                        q.idx[c] = faceIndex(f, a + da[c], b + db[c]);
                        q.uv[2 * c] = static_cast<float>(double(tx * n + a + da[c]) / (3.0 * n));
                        q.uv[2 * c + 1] = static_cast<float>(double(ty * n + b + db[c]) / (2.0 * n));
                    }
                    fn(q);
                }
            }
        }
    }

private:
    void ringToGrid(std::uint32_t t, std::uint32_t& i, std::uint32_t& j) const {
        const std::uint32_t n = m_n;
        if (t < n)
            i = t, j = 0;
        else if (t < 2 * n)
            i = n, j = t - n;
        else if (t < 3 * n)
            i = 3 * n - t, j = n;
        else
            i = 0, j = 4 * n - t;
    }

    std::uint32_t ringIndex(std::uint32_t i, std::uint32_t j) const {
        const std::uint32_t n = m_n;
        if (j == 0 && i < n) return i;
        if (i == n && j < n) return n + j;
        if (j == n && i > 0) return 2 * n + (n - i);
        return 3 * n + (n - j);
    }

    std::uint32_t latticeIndex(std::uint32_t i, std::uint32_t j, std::uint32_t k) const {
        const std::uint32_t n = m_n;
        if (k == 0) return i * (n + 1) + j;
        if (k == n) return (n + 1) * (n + 1) + (n - 1) * 4 * n + i * (n + 1) + j;
        return (n + 1) * (n + 1) + (k - 1) * 4 * n + ringIndex(i, j);
    }

    // Grid (a, b) of cube face f to lattice coordinates, oriented so that the
    // corners (a,b), (a+1,b), (a+1,b+1), (a,b+1) run counter-clockwise seen
    // from outside.
    std::uint32_t faceIndex(std::uint32_t f, std::uint32_t a, std::uint32_t b) const {
        const std::uint32_t n = m_n;
        switch (f) {
            case 0:
                return latticeIndex(n, a, b);  // +x
            case 1:
                return latticeIndex(0, b, a);  // -x
            case 2:
                return latticeIndex(b, n, a);  // +y
            case 3:
                return latticeIndex(a, 0, b);  // -y
            case 4:
                return latticeIndex(a, b, n);  // +z
            default:
                return latticeIndex(b, a, 0);  // -z
        }
    }

    Vertex vertex(std::uint32_t i, std::uint32_t j, std::uint32_t k) const {
        const double n = m_n;
        const Vec3 c{(2.0 * i - n) / n, (2.0 * j - n) / n, (2.0 * k - n) / n};
        const Vec3 d = normalized(c);
        const double shade = m_noise.fbm(d * 1.9);
        const Vec3 base = m_rounded ? c * 0.55 + d * 0.45 : d;
        const Vec3 p = m_center + mul(base * (1.0 + m_amp * shade), m_scale);
        return {p, shade, &m_material};
    }

    std::uint32_t m_n;
    bool m_rounded;
    Vec3 m_center, m_scale;
    double m_amp;
    const ValueNoise& m_noise;
    const Material& m_material;
};

// A torus lying in the x-z plane: R segments around the ring, C around the tube.
class TorusShape {
public:
    TorusShape(std::uint32_t R, std::uint32_t C, Vec3 center, double major, double minor, double amp,
               const ValueNoise& noise, const Material& material)
        : m_R(R),
          m_C(C),
          m_center(center),
          m_major(major),
          m_minor(minor),
          m_amp(amp),
          m_noise(noise),
          m_material(material),
          m_ringR(ringPoints(R)),
          m_ringC(ringPoints(C)) {}

    std::uint64_t vertexCount() const { return std::uint64_t(m_R) * m_C; }
    std::uint64_t quadCount() const { return std::uint64_t(m_R) * m_C; }

    template <class Fn>
    void forEachVertex(Fn&& fn) const {
        for (std::uint32_t r = 0; r < m_R; ++r) {
            const double mx = m_ringR[r][0], mz = m_ringR[r][1];
            for (std::uint32_t c = 0; c < m_C; ++c) {
                const double cp = m_ringC[c][0], sp = m_ringC[c][1];
                const Vec3 ring{mx * m_major, 0.0, mz * m_major};
                const Vec3 normal{cp * mx, sp, cp * mz};
                const Vec3 p0 = ring + normal * m_minor;
                const double shade = m_noise.fbm(p0 * 2.4);
                fn(Vertex{m_center + ring + normal * (m_minor * (1.0 + m_amp * shade)), shade, &m_material});
            }
        }
    }

    template <class Fn>
    void forEachQuad(Fn&& fn) const {
        Quad q;
        // Corners (r,c), (r,c+1), (r+1,c+1), (r+1,c): outward facing.
        static constexpr std::uint32_t dr[4] = {0, 0, 1, 1};
        static constexpr std::uint32_t dc[4] = {0, 1, 1, 0};
        for (std::uint32_t r = 0; r < m_R; ++r) {
            for (std::uint32_t c = 0; c < m_C; ++c) {
                for (int k = 0; k < 4; ++k) {
                    const std::uint32_t rr = r + dr[k], cc = c + dc[k];
                    q.idx[k] = (rr % m_R) * m_C + (cc % m_C);
                    q.uv[2 * k] = static_cast<float>(double(rr) / m_R);
                    q.uv[2 * k + 1] = static_cast<float>(double(cc) / m_C);
                }
                fn(q);
            }
        }
    }

private:
    std::uint32_t m_R, m_C;
    Vec3 m_center;
    double m_major, m_minor, m_amp;
    const ValueNoise& m_noise;
    const Material& m_material;
    std::vector<std::array<double, 2>> m_ringR, m_ringC;
};

// An open, tapering, bent tube of `quads` quads: `cols` around, rows along
// the axis, the last row possibly partial. It takes the faces that the main
// body cannot, so that a part has exactly the faces asked for.
class HornShape {
public:
    struct Frame {
        Vec3 base, up, e1, e2, bend;  // e1 x e2 = -up keeps the faces outward
        double length, radius;
    };

    HornShape(std::uint64_t quads, const Frame& frame, double amp, const ValueNoise& noise)
        : m_quads(quads), m_frame(frame), m_amp(amp), m_noise(noise) {
        m_cols = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(isqrt(quads), 3, 48));
        m_rows = static_cast<std::uint32_t>((quads + m_cols - 1) / m_cols);
        m_ring = ringPoints(m_cols);
    }

    std::uint64_t vertexCount() const { return std::uint64_t(m_rows + 1) * m_cols; }
    std::uint64_t quadCount() const { return m_quads; }

    template <class Fn>
    void forEachVertex(Fn&& fn) const {
        const Frame& f = m_frame;
        for (std::uint32_t r = 0; r <= m_rows; ++r) {
            const double t = double(r) / m_rows;
            const Vec3 axis = f.base + f.up * (f.length * t) + f.bend * (t * t);
            const double radius = f.radius * (1.0 - 0.7 * t);
            for (std::uint32_t c = 0; c < m_cols; ++c) {
                const Vec3 radial = f.e1 * m_ring[c][0] + f.e2 * m_ring[c][1];
                const double shade = m_noise.fbm((axis + radial * radius) * 3.1);
                fn(Vertex{axis + radial * (radius * (1.0 + m_amp * shade)), shade, &kHorn});
            }
        }
    }

    template <class Fn>
    void forEachQuad(Fn&& fn) const {
        Quad q;
        static constexpr std::uint32_t dr[4] = {0, 1, 1, 0};
        static constexpr std::uint32_t dc[4] = {0, 0, 1, 1};
        for (std::uint64_t i = 0; i < m_quads; ++i) {
            const auto r = static_cast<std::uint32_t>(i / m_cols);
            const auto c = static_cast<std::uint32_t>(i % m_cols);
            for (int k = 0; k < 4; ++k) {
                const std::uint32_t rr = r + dr[k], cc = c + dc[k];
                q.idx[k] = rr * m_cols + cc % m_cols;
                q.uv[2 * k] = static_cast<float>(double(cc) / m_cols);
                q.uv[2 * k + 1] = static_cast<float>(double(rr) / m_rows);
            }
            fn(q);
        }
    }

private:
    std::uint64_t m_quads;
    Frame m_frame;
    double m_amp;
    const ValueNoise& m_noise;
    std::uint32_t m_cols = 0, m_rows = 0;
    std::vector<std::array<double, 2>> m_ring;
};

// ------------------------------------------------------------ solid shapes

// A profile in the (r, y) half plane: r the distance from the vertical axis,
// y the height. It runs from a point on the axis at the bottom to a point on
// the axis at the top, with r > 0 in between.
using Profile = std::vector<std::array<double, 2>>;

// Chaikin's corner cutting, `rounds` times: a smooth curve through the
// middle of the control polygon. The two ends stay where they are, and
// points cut from a horizontal edge keep its height exactly.
Profile smoothProfile(Profile points, int rounds) {
    for (int round = 0; round < rounds; ++round) {
        Profile next;
        next.reserve(2 * points.size());
        next.push_back(points.front());
        for (std::size_t k = 0; k + 1 < points.size(); ++k) {
            const auto& a = points[k];
            const auto& b = points[k + 1];
            next.push_back({0.75 * a[0] + 0.25 * b[0], 0.75 * a[1] + 0.25 * b[1]});
            next.push_back({0.25 * a[0] + 0.75 * b[0], 0.25 * a[1] + 0.75 * b[1]});
        }
        next.push_back(points.back());
        points.swap(next);
    }
    return points;
}

// `count` + 1 points of the half circle of radius 1 from (0, -1) to (0, 1)
// at nearly even angles: the tangent of the half angle, in [-1, 1], comes
// from the same rational approximation as ringPoints, and gives cos and sin
// through the rational parametrisation of the circle.
Profile halfCircle(std::uint32_t count) {
    Profile arc(count + 1);
    arc.front() = {0.0, -1.0};
    arc.back() = {0.0, 1.0};
    for (std::uint32_t k = 1; k < count; ++k) {
        const double a = (2.0 * k / count - 1.0) * 0.78539816339744831;  // half the angle, in (-pi/4, pi/4)
        const double a2 = a * a;
        const double w = a * (15.0 - a2) / (15.0 - 6.0 * a2);
        const double d = 1.0 + w * w;
        arc[k] = {(1.0 - w * w) / d, 2.0 * w / d};
    }
    return arc;
}

// One ring of a lathe surface: its place on the profile and the profile's
// outward normal there.
struct ProfileSample {
    double r, y;
    double nr, ny;
};

// `rings` points at even arc length strictly between the two ends of the
// profile, with the ends themselves first and last.
std::vector<ProfileSample> sampleProfile(const Profile& profile, std::uint32_t rings) {
    std::vector<double> at(profile.size(), 0.0);  // arc length up to each point
    for (std::size_t k = 1; k < profile.size(); ++k) {
        const double dr = profile[k][0] - profile[k - 1][0], dy = profile[k][1] - profile[k - 1][1];
        at[k] = at[k - 1] + std::sqrt(dr * dr + dy * dy);
    }
    const double length = at.back();
    std::vector<std::array<double, 2>> points(rings + 2);
    points.front() = profile.front();
    points.back() = profile.back();
    std::size_t k = 0;
    for (std::uint32_t j = 1; j <= rings; ++j) {
        const double s = length * j / (rings + 1);
        while (k + 2 < profile.size() && at[k + 1] <= s) ++k;
        const double t = (s - at[k]) / (at[k + 1] - at[k]);
        points[j] = {profile[k][0] + (profile[k + 1][0] - profile[k][0]) * t,
                     profile[k][1] + (profile[k + 1][1] - profile[k][1]) * t};
    }
    std::vector<ProfileSample> samples(rings + 2);
    for (std::size_t j = 0; j < samples.size(); ++j) {
        double nr = 0.0, ny = j == 0 ? -1.0 : 1.0;  // the poles look straight down and up
        if (j > 0 && j + 1 < samples.size()) {
            const double tr = points[j + 1][0] - points[j - 1][0], ty = points[j + 1][1] - points[j - 1][1];
            const double len = std::sqrt(tr * tr + ty * ty);
            nr = ty / len;
            ny = -tr / len;
        }
        samples[j] = {points[j][0], points[j][1], nr, ny};
    }
    return samples;
}

double clamp01(double v) { return v < 0.0 ? 0.0 : (v > 1.0 ? 1.0 : v); }

// 1 at t = 0, falling smoothly to 0 at |t| = 1 and beyond.
double bump(double t) {
    const double u = 1.0 - t * t;
    return u > 0.0 ? u * u : 0.0;
}

// A closed surface of revolution around a vertical axis, deformed: `cols`
// points on each of `rings` rings between two poles. The faces are a
// triangle fan around the bottom pole, rings - 1 rows of quads and a
// triangle fan around the top pole, all facing outward. The bottom of a
// base is left flat, at its lowest height, for the build plate.
//
//   Base:  a slab of two rounded tiers, a rounded square seen from above;
//   Torso: a capsule with hips, a waist, broad shoulders and a neck;
//   Head:  a sphere stretched upward, a narrower jaw and a nose.
class LatheShape {
public:
    enum class Kind { Base, Torso, Head };

    LatheShape(Kind kind, std::uint32_t cols, std::uint32_t rings, Vec3 center, const ValueNoise& noise)
        : m_kind(kind), m_cols(cols), m_rings(rings), m_center(center), m_noise(noise), m_ring(ringPoints(cols)) {
        switch (kind) {
            case Kind::Base:
                m_samples = sampleProfile(smoothProfile({{0.0, 0.0},
                                                         {1.50, 0.0},
                                                         {1.66, 0.0},
                                                         {1.66, 0.30},
                                                         {1.40, 0.30},
                                                         {1.32, 0.33},
                                                         {1.30, 0.58},
                                                         {1.12, 0.63},
                                                         {0.50, 0.66},
                                                         {0.0, 0.67}},
                                                        4),
                                          rings);
                m_material = &kStone;
                break;
            case Kind::Torso:
                m_samples = sampleProfile(smoothProfile({{0.0, 0.42},
                                                         {0.30, 0.44},
                                                         {0.52, 0.55},
                                                         {0.62, 0.85},
                                                         {0.60, 1.25},
                                                         {0.52, 1.60},
                                                         {0.58, 2.00},
                                                         {0.68, 2.35},
                                                         {0.66, 2.65},
                                                         {0.46, 2.86},
                                                         {0.25, 2.95},
                                                         {0.21, 3.10},
                                                         {0.20, 3.25},
                                                         {0.0, 3.30}},
                                                        4),
                                          rings);
                m_material = &kCloth;
                break;
            case Kind::Head: {
                Profile arc = halfCircle(96);
                for (auto& p : arc) p = {0.46 * p[0], 3.62 + 0.62 * p[1]};
                m_samples = sampleProfile(arc, rings);
                m_material = &kSkin;
                break;
            }
        }
    }

    std::uint64_t vertexCount() const { return std::uint64_t(m_rings) * m_cols + 2; }
    std::uint64_t quadCount() const { return std::uint64_t(m_rings - 1) * m_cols; }
    std::uint64_t triangleCount() const { return 2ull * m_cols; }

    template <class Fn>
    void forEachVertex(Fn&& fn) const {
        fn(vertex(0, 0));
        for (std::uint32_t i = 1; i <= m_rings; ++i)
            for (std::uint32_t c = 0; c < m_cols; ++c) fn(vertex(i, c));
        fn(vertex(m_rings + 1, 0));
    }

    // The bottom fan, the quads row by row, the top fan.
    template <class Fn>
    void forEachQuad(Fn&& fn) const {
        const std::uint32_t C = m_cols;
        const std::uint32_t top = m_rings * C + 1;
        const double rows = m_rings + 1;
        auto at = [&](std::uint32_t ring, std::uint32_t c) { return 1 + (ring - 1) * C + c % C; };
        Quad q;
        q.triangle = true;
        q.idx[3] = 0;
        q.uv[6] = q.uv[7] = 0.0f;
        for (std::uint32_t c = 0; c < C; ++c) {
            q.idx = {0, at(1, c + 1), at(1, c), 0};
            q.uv = {static_cast<float>((c + 0.5) / C), 0.0f, static_cast<float>(double(c + 1) / C),
                    static_cast<float>(1.0 / rows), static_cast<float>(double(c) / C),
                    static_cast<float>(1.0 / rows), 0.0f, 0.0f};
            fn(q);
        }
        q.triangle = false;
        for (std::uint32_t i = 1; i < m_rings; ++i) {
            for (std::uint32_t c = 0; c < C; ++c) {
                q.idx = {at(i, c), at(i, c + 1), at(i + 1, c + 1), at(i + 1, c)};
                const auto u0 = static_cast<float>(double(c) / C), u1 = static_cast<float>(double(c + 1) / C);
                const auto v0 = static_cast<float>(i / rows), v1 = static_cast<float>((i + 1) / rows);
                q.uv = {u0, v0, u1, v0, u1, v1, u0, v1};
                fn(q);
            }
        }
        q.triangle = true;
        for (std::uint32_t c = 0; c < C; ++c) {
            q.idx = {at(m_rings, c), at(m_rings, c + 1), top, 0};
            q.uv = {static_cast<float>(double(c) / C), static_cast<float>(m_rings / rows),
                    static_cast<float>(double(c + 1) / C), static_cast<float>(m_rings / rows),
                    static_cast<float>((c + 0.5) / C), 1.0f, 0.0f, 0.0f};
            fn(q);
        }
    }

private:
    // Sample i of the profile (0 and rings + 1 are the poles), at column c.
    Vertex vertex(std::uint32_t i, std::uint32_t c) const {
        const ProfileSample& s = m_samples[i];
        // Around the ring: x from the ring's first coordinate, z from minus
        // its second, so that the columns run the way that faces outward.
        const double cx = m_ring[c][0], cz = -m_ring[c][1];
        const Vec3 undisplaced = place(s.r, s.y, s.y, cx, cz);
        const double shade = m_noise.fbm(undisplaced * frequency());
        const double d = amplitude(s.y) * shade;
        return {place(s.r + d * s.nr, s.y + d * s.ny, s.y, cx, cz), shade, m_material};
    }

    // The point at distance r from the axis and height y in the direction
    // (cx, cz), the cross-section shaped as at the profile's height y0.
    Vec3 place(double r, double y, double y0, double cx, double cz) const {
        double sx = 1.0, sz = 1.0;
        switch (m_kind) {
            case Kind::Base: {
                // A rounded square: the direction scaled onto |x|^4 + |z|^4 = 1.
                const double q = std::sqrt(std::sqrt(cx * cx * cx * cx + cz * cz * cz * cz));
                sx = 1.0 / q;
                sz = 0.82 / q;
                break;
            }
            case Kind::Torso: {
                const double shoulders = bump((y0 - 2.45) / 0.75);
                const double neck = clamp01((y0 - 2.8) / 0.3);
                sx = 1.0 + 0.42 * shoulders - 0.3 * neck * shoulders;
                sz = 0.72 + 0.28 * neck;
                break;
            }
            case Kind::Head: {
                const double low = clamp01((3.62 - y0) / 0.62);  // 0 above the middle, 1 at the chin
                sx = 1.0 - 0.16 * low;
                sz = 1.18;
                r += 0.07 * bump(cx / 0.3) * bump((y0 - 3.56) / 0.16);  // the nose, towards +z
                break;
            }
        }
        return m_center + Vec3{cx * r * sx, y, cz * r * sz};
    }

    double frequency() const { return m_kind == Kind::Base ? 3.0 : (m_kind == Kind::Torso ? 2.0 : 2.6); }

    // How far the noise moves the surface along its normal: nothing at the
    // bottom of the base, so that it stays flat.
    double amplitude(double y0) const {
        switch (m_kind) {
            case Kind::Base:
                return 0.03 * clamp01((y0 - 0.04) / 0.12);
            case Kind::Torso:
                return 0.035;
            default:
                return 0.025;
        }
    }

    Kind m_kind;
    std::uint32_t m_cols, m_rings;
    Vec3 m_center;
    const ValueNoise& m_noise;
    std::vector<std::array<double, 2>> m_ring;
    std::vector<ProfileSample> m_samples;
    const Material* m_material = nullptr;
};

// ------------------------------------------------------------ parts

bool isSolid(PartShape shape) {
    return shape == PartShape::SolidHead || shape == PartShape::SolidTorso || shape == PartShape::SolidBase;
}

void validate(const PartParams& part) {
    if (part.faces == 0) throw std::invalid_argument("part " + part.name + " has no faces");
    if (isSolid(part.shape) && part.faces < kMinSolidFaces)
        throw std::invalid_argument("part " + part.name + " (" + shapeName(part.shape) + ") would have " +
                                    std::to_string(part.faces) + " faces, fewer than the " +
                                    std::to_string(kMinSolidFaces) + " a solid shape needs");
    if (part.faces > kMaxFacesPerPart)
        throw std::invalid_argument("part " + part.name + " would have " + std::to_string(part.faces) +
                                    " faces, more than " + std::to_string(kMaxFacesPerPart) + " per file");
}

// The geometry of one part: main body plus horn, the triangle splits, and
// the per-vertex attributes.
class PartBuilder {
public:
    explicit PartBuilder(const PartParams& part) : m_part(part), m_noise(part.seed) {
        validate(part);
        m_splits = part.faces / 20;
        m_quads = part.faces - m_splits;
        const double ox = 3.2 * part.slot;
        std::uint64_t rest = m_quads;
        HornShape::Frame horn;
        switch (part.shape) {
            case PartShape::Head: {
                const auto n = static_cast<std::uint32_t>(isqrt(m_quads / 6));
                if (n > 0) m_cube.emplace(n, false, Vec3{ox, 3.35, 0.0}, Vec3{0.72, 0.82, 0.76}, 0.08, m_noise, kSkin);
                horn = {{ox, 3.95, 0.0}, {0, 1, 0}, {1, 0, 0}, {0, 0, 1}, {0.35, 0, 0}, 0.75, 0.16};
                break;
            }
            case PartShape::Torso: {
                const auto n = static_cast<std::uint32_t>(isqrt(m_quads / 6));
                if (n > 0) m_cube.emplace(n, true, Vec3{ox, 1.75, 0.0}, Vec3{0.95, 0.9, 0.55}, 0.05, m_noise, kCloth);
                horn = {{ox + 0.75, 2.1, 0.0}, {1, 0, 0}, {0, 0, 1}, {0, 1, 0}, {0, -0.45, 0}, 0.9, 0.2};
                break;
            }
            case PartShape::Base: {
                const auto C = static_cast<std::uint32_t>(isqrt(m_quads / 4));
                if (C >= 3) {
                    const auto R = static_cast<std::uint32_t>(m_quads / C);
                    m_torus.emplace(R, C, Vec3{ox, 0.3, 0.0}, 1.05, 0.28, 0.12, m_noise, kStone);
                }
                horn = {{ox + 1.05, 0.45, 0.0}, {0, 1, 0}, {1, 0, 0}, {0, 0, 1}, {0, 0, 0.25}, 0.6, 0.12};
                break;
            }
            case PartShape::SolidBase:
            case PartShape::SolidTorso:
            case PartShape::SolidHead:
                buildSolid();
                return;
        }
        if (m_cube) rest -= m_cube->quadCount();
        if (m_torus) rest -= m_torus->quadCount();
        if (rest > 0) m_horn.emplace(rest, horn, 0.06, m_noise);
    }

    std::uint64_t vertexCount() const {
        return (m_cube ? m_cube->vertexCount() : 0) + (m_torus ? m_torus->vertexCount() : 0) +
               (m_horn ? m_horn->vertexCount() : 0) + (m_lathe ? m_lathe->vertexCount() : 0);
    }
    std::uint64_t faceCount() const { return m_part.faces; }
    std::uint64_t triangleCount() const { return 2 * m_splits + (m_lathe ? m_lathe->triangleCount() : 0); }

    // fn(const Vec3& position, std::uint32_t mrgb, unsigned char mask)
    template <class Fn>
    void forEachVertex(Fn&& fn) const {
        auto emit = [&](const Vertex& v) {
            const double k = 0.8 + 0.3 * v.shade;
            const std::uint32_t word =
                (toByte(v.material->r * k) << 16) | (toByte(v.material->g * k) << 8) | toByte(v.material->b * k);
            fn(v.p, word, static_cast<unsigned char>(toByte(0.5 + 0.9 * v.shade)));
        };
        if (m_cube) m_cube->forEachVertex(emit);
        if (m_torus) m_torus->forEachVertex(emit);
        if (m_horn) m_horn->forEachVertex(emit);
        if (m_lathe) m_lathe->forEachVertex(emit);
    }

    // fn(const std::int32_t (&idx)[4], const float (&uv)[8]); one call per face.
    template <class Fn>
    void forEachFace(Fn&& fn) const {
        std::uint64_t quad = 0, split = 0;
        std::uint64_t nextSplit = m_splits > 0 ? splitPosition(0) : ~std::uint64_t(0);
        std::uint64_t base = 0;
        auto emit = [&](const Quad& q) {
            std::int32_t idx[4];
            for (int k = 0; k < 4; ++k) idx[k] = static_cast<std::int32_t>(base + q.idx[k]);
            if (q.triangle) {
                idx[3] = kNoIndex;
                const float uv[8] = {q.uv[0], q.uv[1], q.uv[2], q.uv[3], q.uv[4], q.uv[5], 0, 0};
                fn(idx, uv);
                return;
            }
            if (quad == nextSplit) {
                // (a, b, c, d) -> (a, b, c) and (a, c, d); the fourth UV is (0, 0).
                const std::int32_t t1[4] = {idx[0], idx[1], idx[2], kNoIndex};
                const std::int32_t t2[4] = {idx[0], idx[2], idx[3], kNoIndex};
                const float uv1[8] = {q.uv[0], q.uv[1], q.uv[2], q.uv[3], q.uv[4], q.uv[5], 0, 0};
                const float uv2[8] = {q.uv[0], q.uv[1], q.uv[4], q.uv[5], q.uv[6], q.uv[7], 0, 0};
                fn(t1, uv1);
                fn(t2, uv2);
                ++split;
                nextSplit = split < m_splits ? splitPosition(split) : ~std::uint64_t(0);
            } else {
                const float uv[8] = {q.uv[0], q.uv[1], q.uv[2], q.uv[3], q.uv[4], q.uv[5], q.uv[6], q.uv[7]};
                fn(idx, uv);
            }
            ++quad;
        };
        if (m_cube) {
            m_cube->forEachQuad(emit);
            base += m_cube->vertexCount();
        }
        if (m_torus) {
            m_torus->forEachQuad(emit);
            base += m_torus->vertexCount();
        }
        if (m_horn) m_horn->forEachQuad(emit);
        if (m_lathe) m_lathe->forEachQuad(emit);
    }

private:
    // A solid shape of exactly the faces asked for. Its grid, cols x
    // (rings + 1) faces (two fans of cols triangles and rings - 1 rows of
    // quads), takes at most 39 faces in 40, with rings and columns in the
    // shape's proportion; every face left over splits one more quad into two
    // triangles.
    void buildSolid() {
        LatheShape::Kind kind = LatheShape::Kind::Head;
        std::uint64_t ringShare = 11, columnShare = 20;  // rings : columns
        if (m_part.shape == PartShape::SolidBase) kind = LatheShape::Kind::Base, ringShare = 3, columnShare = 5;
        if (m_part.shape == PartShape::SolidTorso) kind = LatheShape::Kind::Torso, ringShare = 3, columnShare = 4;
        const std::uint64_t faces = m_part.faces;
        const std::uint64_t grid = faces - faces / 40;
        const std::uint64_t cols = std::max<std::uint64_t>(3, isqrt(grid * columnShare / ringShare));
        const std::uint64_t rings = grid / cols - 1;  // so that cols x (rings + 1) <= grid
        m_lathe.emplace(kind, static_cast<std::uint32_t>(cols), static_cast<std::uint32_t>(rings),
                        Vec3{3.6 * m_part.slot, 0.0, 0.0}, m_noise);
        m_quads = m_lathe->quadCount();
        m_splits = faces - cols * (rings + 1);
        if (rings < 2 || m_splits > m_quads)
            throw std::logic_error("no closed grid for " + std::to_string(faces) + " faces");
    }

    // The k-th split quad: one hash-chosen quad in each of m_splits equal
    // stretches of the quad sequence, so exactly m_splits quads are split.
    std::uint64_t splitPosition(std::uint64_t k) const {
        const std::uint64_t lo = k * m_quads / m_splits;
        const std::uint64_t hi = (k + 1) * m_quads / m_splits;
        return lo + mix64(m_part.seed ^ (k * 0xD1B54A32D192ED03ULL)) % (hi - lo);
    }

    const PartParams& m_part;
    ValueNoise m_noise;
    std::uint64_t m_splits = 0, m_quads = 0;
    std::optional<CubeShape> m_cube;
    std::optional<TorusShape> m_torus;
    std::optional<HornShape> m_horn;
    std::optional<LatheShape> m_lathe;
};

std::array<unsigned char, 16> unknownBlockBody(std::uint64_t seed) {
    std::array<unsigned char, 16> body{};
    for (int i = 0; i < 4; ++i)
        storeU32(body.data() + 4 * i, static_cast<std::uint32_t>(mix64(seed + 0x40001 + std::uint64_t(i))));
    return body;
}

}  // namespace

const char* shapeName(PartShape shape) {
    switch (shape) {
        case PartShape::Head:
            return "head";
        case PartShape::Torso:
            return "torso";
        case PartShape::Base:
            return "base";
        case PartShape::SolidHead:
            return "solid head";
        case PartShape::SolidTorso:
            return "solid torso";
        case PartShape::SolidBase:
            return "solid base";
    }
    return "?";
}

SceneGenerator::SceneGenerator(const SceneOptions& options) {
    if (options.faces == 0) throw std::invalid_argument("the face count must be at least 1");
    if (options.files == 0) throw std::invalid_argument("the file count must be at least 1");
    if (options.files > options.faces)
        throw std::invalid_argument("more files (" + std::to_string(options.files) + ") than faces (" +
                                    std::to_string(options.faces) + ")");
    const std::uint64_t each = options.faces / options.files;
    const std::uint64_t extra = options.faces % options.files;
    for (std::uint32_t i = 0; i < options.files; ++i) {
        PartParams p;
        p.name = "part" + std::to_string(i);
        p.shape = static_cast<PartShape>(i % 3);
        p.faces = each + (i < extra ? 1 : 0);
        p.seed = mix64(options.seed ^ (0xA0761D6478BD642FULL * (std::uint64_t(i) + 1)));
        p.slot = i / 3;
        p.uv = options.uv;
        p.colors = options.colors;
        validate(p);
        m_parts.push_back(p);
    }
}

SceneGenerator::SceneGenerator(std::vector<PartParams> parts) : m_parts(std::move(parts)) {
    for (const PartParams& p : m_parts) validate(p);
}

SceneGenerator SceneGenerator::sample() {
    std::vector<PartParams> parts(3);
    parts[0].name = "head";
    parts[0].shape = PartShape::SolidHead;
    parts[0].faces = 1500;
    parts[0].seed = 101;
    parts[1].name = "torso";
    parts[1].shape = PartShape::SolidTorso;
    parts[1].faces = 1200;
    parts[1].seed = 202;
    parts[1].mask = true;
    parts[1].unknownBlock = true;
    parts[2].name = "base";
    parts[2].shape = PartShape::SolidBase;
    parts[2].faces = 1000;
    parts[2].seed = 303;
    return SceneGenerator(std::move(parts));
}

std::uint64_t SceneGenerator::pointCount(const PartParams& part) { return PartBuilder(part).vertexCount(); }

std::uint64_t SceneGenerator::triangleCount(const PartParams& part) { return PartBuilder(part).triangleCount(); }

PartStats SceneGenerator::writePart(const PartParams& part, VekWriter& w) {
    const PartBuilder b(part);
    const std::uint64_t nv = b.vertexCount();
    const std::uint64_t nf = b.faceCount();
    if (nv > std::uint64_t(std::numeric_limits<std::int32_t>::max()))
        throw std::length_error("part " + part.name + " has too many points");

    std::vector<std::uint32_t> colours;
    std::vector<unsigned char> mask;
    if (part.colors) colours.reserve(nv);
    if (part.mask) mask.reserve(nv);

    w.beginBlock(kTagPoints, static_cast<std::uint32_t>(nv), 12 * nv);
    b.forEachVertex([&](const Vec3& p, std::uint32_t word, unsigned char m) {
        w.putF32(static_cast<float>(p.x));
        w.putF32(static_cast<float>(p.y));
        w.putF32(static_cast<float>(p.z));
        if (part.colors) colours.push_back(word);
        if (part.mask) mask.push_back(m);
    });
    if (part.mask) {
        w.mask(mask);
        std::vector<unsigned char>().swap(mask);
    }
    if (part.unknownBlock) {
        const auto body = unknownBlockBody(part.seed);
        w.rawBlock(kUnknownSampleTag, 4, body);
    }
    w.beginBlock(kTagFace4, static_cast<std::uint32_t>(nf), 16 * nf);
    b.forEachFace([&](const std::int32_t(&idx)[4], const float(&)[8]) {
        for (std::int32_t i : idx) w.putI32(i);
    });
    if (part.uv) {
        w.beginBlock(kTagUV4, static_cast<std::uint32_t>(nf), 32 * nf);
        b.forEachFace([&](const std::int32_t(&)[4], const float(&uv)[8]) {
            for (float f : uv) w.putF32(f);
        });
    }
    if (part.colors) w.mrgb(colours);
    w.endBlock();

    PartStats s;
    s.points = nv;
    s.faces = nf;
    s.triangles = b.triangleCount();
    s.bytes = w.offset();
    return s;
}

MeshData SceneGenerator::generate(const PartParams& part) {
    const PartBuilder b(part);
    MeshData m;
    m.points.reserve(b.vertexCount());
    b.forEachVertex([&](const Vec3& p, std::uint32_t word, unsigned char mk) {
        m.points.push_back({static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)});
        if (part.colors) m.mrgb.push_back(word);
        if (part.mask) m.mask.push_back(mk);
    });
    m.faces.reserve(b.faceCount());
    if (part.uv) m.uvs.reserve(b.faceCount());
    b.forEachFace([&](const std::int32_t(&idx)[4], const float(&uv)[8]) {
        m.faces.push_back({idx[0], idx[1], idx[2], idx[3]});
        if (part.uv) m.uvs.push_back({uv[0], uv[1], uv[2], uv[3], uv[4], uv[5], uv[6], uv[7]});
    });
    return m;
}

std::vector<PartStats> SceneGenerator::writeAll(const std::string& outDir,
                                                const std::function<void(const PartStats&)>& progress) const {
    std::error_code ec;
    std::filesystem::create_directories(outDir, ec);
    if (ec) throw std::runtime_error("cannot create directory " + outDir + ": " + ec.message());
    std::vector<PartStats> all;
    for (const PartParams& part : m_parts) {
        const std::string path = outDir + "/" + part.name + ".vek";
        VekWriter w(path);
        PartStats s = writePart(part, w);
        w.close();
        s.path = path;
        if (progress) progress(s);
        all.push_back(s);
    }
    return all;
}

}  // namespace vekgen
