#include "check/SceneCheck.h"

#include "check/UnionFind.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <tuple>

namespace ombrel::check {

namespace {

// A point's coordinates as a key, -0 taken as 0.
using PointKey = std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>;

std::uint32_t bitsOf(float value) {
    if (value == 0.0f) value = 0.0f;
    std::uint32_t bits;
    std::memcpy(&bits, &value, 4);
    return bits;
}

PointKey keyOf(const QMVector3f& p) { return {bitsOf(p.x), bitsOf(p.y), bitsOf(p.z)}; }

float axis(const QMVector3f& p, int k) { return k == 0 ? p.x : k == 1 ? p.y : p.z; }

// Whether two boxes overlap or come within the tolerance of each other.
bool touch(const Shell& a, const Shell& b, double tolerance) {
    for (int k = 0; k < 3; ++k) {
        if (double(axis(a.min, k)) > double(axis(b.max, k)) + tolerance) return false;
        if (double(axis(b.min, k)) > double(axis(a.max, k)) + tolerance) return false;
    }
    return true;
}


// Which shells float: above the plate, touching no other box.
std::vector<bool> floatingShells(const std::vector<Shell>& shells, int upAxis) {
    std::vector<bool> floating(shells.size(), false);
    for (std::size_t i = 0; i < shells.size(); ++i) {
        if (double(axis(shells[i].min, upAxis)) <= SceneCheck::kContactTolerance) continue;
        bool touching = false;
        for (std::size_t j = 0; j < shells.size() && !touching; ++j)
            touching = j != i && touch(shells[i], shells[j], SceneCheck::kContactTolerance);
        floating[i] = !touching;
    }
    return floating;
}

}  // namespace

void SceneCheck::add(const MeshCheck& mesh) { m_meshes.push_back(&mesh); }

PrintCheck SceneCheck::figures(std::vector<std::uint64_t>* floatingPerMesh) const {
    PrintCheck scene;
    // Every mesh's shells, numbered one after another.
    std::vector<Shell> shells;
    std::vector<std::size_t> firstShell;
    for (const MeshCheck* mesh : m_meshes) {
        const PrintCheck& figures = mesh->figures();
        scene.triangles += figures.triangles;
        scene.degenerateTriangles += figures.degenerateTriangles;
        scene.nonManifoldEdges += figures.nonManifoldEdges;
        scene.flippedEdges += figures.flippedEdges;
        scene.surfaceArea += figures.surfaceArea;
        firstShell.push_back(shells.size());
        shells.insert(shells.end(), mesh->shells().begin(), mesh->shells().end());
    }

    // Open edges of different meshes that meet: joined like any other edge.
    std::map<std::pair<PointKey, PointKey>, std::vector<std::pair<std::size_t, bool>>> uses;
    for (std::size_t m = 0; m < m_meshes.size(); ++m)
        for (const OpenEdge& edge : m_meshes[m]->openEdges()) {
            const PointKey from = keyOf(edge.from), to = keyOf(edge.to);
            const bool forward = from < to;
            uses[forward ? std::make_pair(from, to) : std::make_pair(to, from)].push_back(
                {firstShell[m] + edge.shell, forward});
        }
    UnionFind<std::size_t> joined(shells.size());
    std::vector<std::uint64_t> openEdgesLeft(shells.size(), 0);
    std::vector<bool> nonManifold(shells.size(), false);
    for (std::size_t s = 0; s < shells.size(); ++s) nonManifold[s] = shells[s].nonManifold;
    for (const auto& [edge, users] : uses) {
        if (users.size() == 1) {
            ++scene.openEdges;
            ++openEdgesLeft[users[0].first];
            continue;
        }
        for (const auto& user : users) joined.join(users[0].first, user.first);
        if (users.size() == 2) {
            if (users[0].second == users[1].second) ++scene.flippedEdges;
        } else {
            ++scene.nonManifoldEdges;
            for (const auto& user : users) nonManifold[user.first] = true;
        }
    }

    // The joined shells: their volume, boxes and whether they are closed.
    std::map<std::size_t, Shell> pieces;
    std::map<std::size_t, bool> closed;
    for (std::size_t s = 0; s < shells.size(); ++s) {
        const std::size_t root = joined.find(s);
        auto [it, fresh] = pieces.try_emplace(root, shells[s]);
        Shell& piece = it->second;
        if (!fresh) {
            piece.signedVolume += shells[s].signedVolume;
            piece.min = QMVector3f(std::min(piece.min.x, shells[s].min.x), std::min(piece.min.y, shells[s].min.y),
                                   std::min(piece.min.z, shells[s].min.z));
            piece.max = QMVector3f(std::max(piece.max.x, shells[s].max.x), std::max(piece.max.y, shells[s].max.y),
                                   std::max(piece.max.z, shells[s].max.z));
        }
        auto [state, first] = closed.try_emplace(root, true);
        if (openEdgesLeft[s] != 0 || nonManifold[s]) state->second = false;
    }
    std::vector<Shell> pieceList;
    std::map<std::size_t, std::size_t> pieceIndex;
    for (const auto& [root, piece] : pieces) {
        pieceIndex[root] = pieceList.size();
        pieceList.push_back(piece);
        if (closed[root]) {
            ++scene.closedShells;
            scene.volume += std::fabs(piece.signedVolume);
        }
    }
    scene.shells = pieceList.size();
    const std::vector<bool> floating = floatingShells(pieceList, m_upAxis);
    for (bool floats : floating) scene.floatingShells += floats ? 1 : 0;
    if (floatingPerMesh) {
        floatingPerMesh->assign(m_meshes.size(), 0);
        for (std::size_t m = 0; m < m_meshes.size(); ++m)
            for (std::size_t s = firstShell[m]; s < firstShell[m] + m_meshes[m]->shells().size(); ++s)
                if (floating[pieceIndex[joined.find(s)]]) ++(*floatingPerMesh)[m];
    }
    if (!pieceList.empty()) {
        QMVector3f min = pieceList.front().min, max = pieceList.front().max;
        for (const Shell& piece : pieceList) {
            min = QMVector3f(std::min(min.x, piece.min.x), std::min(min.y, piece.min.y), std::min(min.z, piece.min.z));
            max = QMVector3f(std::max(max.x, piece.max.x), std::max(max.y, piece.max.y), std::max(max.z, piece.max.z));
        }
        scene.size[0] = double(max.x) - min.x;
        scene.size[1] = double(max.y) - min.y;
        scene.size[2] = double(max.z) - min.z;
    }
    return scene;
}

PrintCheck checkAlone(const MeshCheck& mesh, int upAxis) {
    SceneCheck scene(upAxis);
    scene.add(mesh);
    return scene.figures();
}

}  // namespace ombrel::check
