#pragma once

#include "geometry/QMVector.h"

#include <cstddef>
#include <cstdint>

// One mesh as the writers read it, whatever holds it: arrays read from a Vek
// file (ArrayMeshSource) or the host's current mesh (CurrentHostMesh.h). The
// writers read it in ranges, from several threads at once, so every method is
// const and safe to call concurrently.
class MeshSource {
public:
    virtual ~MeshSource() = default;

    virtual std::size_t numPoints() const = 0;
    // Points [first, first + count), as the mesh holds them (before any
    // placement).
    virtual void readPoints(std::size_t first, std::size_t count, QMVector3f* out) const = 0;
    // All points as one array, when the mesh holds them so; null otherwise.
    virtual const QMVector3f* pointArray() const { return nullptr; }

    virtual std::size_t numFaces() const = 0;
    // Faces [first, first + count): four indices each, unchecked, a fourth
    // index of -1 marking a triangle.
    virtual void readFaces(std::size_t first, std::size_t count, std::int32_t* out) const = 0;
    // All faces as one array of four indices each, when the mesh holds them
    // so; null otherwise.
    virtual const std::int32_t* faceArray() const { return nullptr; }

    // How the texture-coordinate entries are numbered in the file: counting
    // only the entries written, face by face (three for a triangle, four for
    // a quad), or as 4 x face + corner, every entry written.
    enum class TexCoordIndexing { kWrittenEntriesInOrder, kFourPerFace };
    virtual TexCoordIndexing texCoordIndexing() const { return TexCoordIndexing::kWrittenEntriesInOrder; }
    // Texture-coordinate entries; 0 when the mesh has none.
    virtual std::size_t numTexCoordEntries() const { return 0; }
    // Entries [first, first + count) and, for each, whether it is written
    // (an entry of an unused corner is not).
    virtual void readTexCoords(std::size_t first, std::size_t count, QMVector2f* uvs, bool* written) const {}

    // Per-vertex colour words (0xMMRRGGBB: red in byte 2, green in byte 1,
    // blue in byte 0); 0 when the mesh has none.
    virtual std::size_t numColours() const { return 0; }
    virtual void readColourWords(std::size_t first, std::size_t count, std::uint32_t* out) const {}
    // The intensity in 0..1 that colour byte `byte` of channel `channel`
    // (0 red, 1 green, 2 blue) stands for, as this mesh's source converts it.
    virtual double colourIntensity(int channel, std::uint8_t byte) const { return byte / 255.0; }

protected:
    MeshSource() = default;
    MeshSource(const MeshSource&) = default;
    MeshSource& operator=(const MeshSource&) = default;
};
