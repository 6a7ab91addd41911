#include "tools/vekgen/VekMeshReader.h"

#include "tools/vekgen/VekInspector.h"

#include <bit>
#include <cstring>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace vekgen {

namespace {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};

// Reads one block body straight into the array's storage. The file is
// little-endian; every element is made of 32-bit words except the mask bytes.
template <class T>
void readBody(std::FILE* file, const VekBlockInfo& block, std::vector<T>& out, const std::string& path) {
    out.resize(block.count);
    const std::size_t bytes = out.size() * sizeof(T);
    if (fseeko(file, static_cast<off_t>(block.offset + kBlockHeaderSize), SEEK_SET) != 0 ||
        std::fread(out.data(), 1, bytes, file) != bytes)
        throw std::runtime_error("cannot read the " + block.name + " block of " + path);
    if constexpr (std::endian::native == std::endian::big && sizeof(T) > 1) {
        auto* words = reinterpret_cast<unsigned char*>(out.data());
        for (std::size_t i = 0; i < bytes; i += 4) {
            const std::uint32_t v = loadU32(words + i);
            std::memcpy(words + i, &v, 4);
        }
    }
}

}  // namespace

MeshData readVekMesh(const std::string& path) {
    const VekInspection inspection = VekInspector::inspectFile(path);
    if (!inspection.ok()) throw std::runtime_error(path + ": " + inspection.message);
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
    if (!file) throw std::runtime_error("cannot open " + path);

    MeshData mesh;
    bool seen[5] = {};
    auto first = [&](int slot) { return !std::exchange(seen[slot], true); };
    for (const VekBlockInfo& block : inspection.blocks) {
        if (isKnownTag(block.tag) && block.tag != kTagEnd && !block.sizeMatchesCount)
            throw std::runtime_error(path + ": the size of the " + block.name + " block does not match its count");
        switch (block.tag) {
            case kTagPoints:
                if (first(0)) readBody(file.get(), block, mesh.points, path);
                break;
            case kTagFace4:
                if (first(1)) readBody(file.get(), block, mesh.faces, path);
                break;
            case kTagUV4:
                if (first(2)) readBody(file.get(), block, mesh.uvs, path);
                break;
            case kTagMRGB:
                if (first(3)) readBody(file.get(), block, mesh.mrgb, path);
                break;
            case kTagMask:
                if (first(4)) readBody(file.get(), block, mesh.mask, path);
                break;
            default:
                break;
        }
    }
    return mesh;
}

}  // namespace vekgen
