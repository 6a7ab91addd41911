#pragma once

// SceneGenerator: deterministic sculpt-like test meshes, written as Vek files.
//
// Every part (one Vek file) has exactly the number of faces asked for. The
// shapes of `vekgen scene` are a closed main body plus, for the faces left
// over, an open tapered tube ("horn"):
//   - Head:  a cube-sphere (a grid on each cube face pushed onto the sphere);
//   - Torso: a rounded box built on the same cube grid;
//   - Base:  a torus lying flat.
// About one face in ten of these is a triangle (fourth index -1): 1 in 20
// quads of the grid is split into two triangles, at hash-chosen places.
//
// The solid shapes are closed surfaces of revolution, deformed, that together
// make a figure that can be printed: every part is watertight, manifold and
// faces outward, and the parts of one slot stand on each other:
//   - SolidBase:  a stepped slab, a rounded square seen from above, whose
//                 flat bottom is the lowest point of the figure (y = 0);
//   - SolidTorso: a capsule with hips, waist, shoulders and neck, its lower
//                 end sunk into the base;
//   - SolidHead:  a stretched sphere with a jaw and a nose, over the neck.
// Their faces are triangle fans around the two poles and rows of quads, a
// few of them (about one face in 40, and what the grid leaves over) split
// into two triangles at hash-chosen places.
//
// All surfaces are displaced by a smooth value noise. Each face has four
// corner UVs in [0, 1] (a triangle's fourth corner is (0, 0)); each vertex
// has an MRGB colour derived from its part and noise value, with M = 0.
//
// Reproducibility: the generator uses only +, -, *, / and sqrt on doubles
// (all correctly rounded in IEEE arithmetic) and its own integer hash, never
// the math library's transcendental functions or the standard distributions,
// so the 64-bit build and the 32-bit SSE2 build write identical bytes.
//
// Memory: a part is streamed into its file; only the colour (and mask) words
// of one part are held until their block is written.

#include "tools/vekgen/VekWriter.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vekgen {

enum class PartShape { Head, Torso, Base, SolidHead, SolidTorso, SolidBase };

// "head", "torso", "base", "solid head", "solid torso", "solid base"
const char* shapeName(PartShape shape);

struct PartParams {
    std::string name;  // file stem: <name>.vek
    PartShape shape = PartShape::Head;
    std::uint64_t faces = 0;  // exact number of faces (quads + triangles)
    std::uint64_t seed = 1;
    std::uint32_t slot = 0;     // placement: parts of one shape stand side by side, figures too
    bool uv = true;             // write a UV4 block
    bool colors = true;         // write an MRGB block
    bool mask = false;          // write a Mask block (one byte per vertex)
    bool unknownBlock = false;  // write a block with tag kUnknownSampleTag
};

// Tag of the block that no reader knows, written into parts with unknownBlock.
inline constexpr std::uint32_t kUnknownSampleTag = 40001;

// Largest number of faces in one part (keeps every block within the 32-bit size field).
inline constexpr std::uint64_t kMaxFacesPerPart = 100'000'000;
// Smallest number of faces of a part with a solid shape.
inline constexpr std::uint64_t kMinSolidFaces = 100;

struct SceneOptions {
    std::uint64_t faces = 0;  // total over all parts
    std::uint32_t files = 1;  // number of parts; faces are shared out as evenly as possible
    std::uint64_t seed = 1;
    bool uv = true;
    bool colors = true;
};

// One part held in memory (for tests and small meshes).
struct MeshData {
    std::vector<Point3> points;
    std::vector<Face4> faces;
    std::vector<UV4> uvs;             // empty unless the part asks for UVs
    std::vector<std::uint32_t> mrgb;  // empty unless the part asks for colours
    std::vector<unsigned char> mask;  // empty unless the part asks for a mask
};

struct PartStats {
    std::string path;  // empty when written to a caller's writer
    std::uint64_t points = 0;
    std::uint64_t faces = 0;
    std::uint64_t triangles = 0;
    std::uint64_t bytes = 0;  // file size
};

class SceneGenerator {
public:
    // Parts part0 ... part<files-1> for the options. Throws
    // std::invalid_argument when faces is 0, files is 0 or larger than
    // faces, or one part would exceed kMaxFacesPerPart.
    explicit SceneGenerator(const SceneOptions& options);
    // Explicit parts (each validated as above; a solid shape also needs at
    // least kMinSolidFaces faces).
    explicit SceneGenerator(std::vector<PartParams> parts);

    // The bundled sample scene, a figure that can be printed: a solid head
    // (1500 faces), a solid torso (1200 faces, with a Mask block and an
    // unknown block) and a solid base (1000 faces).
    static SceneGenerator sample();

    const std::vector<PartParams>& parts() const { return m_parts; }

    // Writes every part to <outDir>/<name>.vek (creating outDir), one at a
    // time; calls progress after each file.
    std::vector<PartStats> writeAll(const std::string& outDir,
                                    const std::function<void(const PartStats&)>& progress = {}) const;

    // Number of points a part has.
    static std::uint64_t pointCount(const PartParams& part);
    // Number of faces of a part that are triangles.
    static std::uint64_t triangleCount(const PartParams& part);
    // Writes the blocks of one part and the end block (the writer is not closed).
    static PartStats writePart(const PartParams& part, VekWriter& writer);
    // The part's data in memory, exactly as writePart writes it.
    static MeshData generate(const PartParams& part);

private:
    std::vector<PartParams> m_parts;
};

}  // namespace vekgen
