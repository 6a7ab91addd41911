#include "fuzz/CanonicalVek.h"

#include "TestFiles.h"

#include "fuzz/FuzzSupport.h"
#include "tools/vekgen/VekWriter.h"

#include <span>

static_assert(sizeof(QMVector3f) == 3 * sizeof(float) && sizeof(QMVector2f) == 2 * sizeof(float));

namespace {

template <class T>
std::uint64_t bytesIn(const QMArray<T>* array) {
    return array ? array->size() * sizeof(T) : 0;
}

}  // namespace

std::uint64_t arrayBytes(const VekArrays& arrays) {
    return bytesIn(arrays.points) + bytesIn(arrays.faces) + bytesIn(arrays.uvs) + bytesIn(arrays.mask) +
           bytesIn(arrays.mrgb);
}

bool representable(const VekArrays& arrays) {
    return (!arrays.faces || arrays.faces->size() % 4 == 0) && (!arrays.uvs || arrays.uvs->size() % 4 == 0);
}

std::vector<unsigned char> canonicalVekBytes(const VekArrays& arrays) {
    FUZZ_CHECK(representable(arrays), "partial faces have no canonical block");
    vekgen::VekWriter writer = vekgen::VekWriter::inMemory();
    if (arrays.points) writer.points(reinterpret_cast<const float*>(arrays.points->data()), arrays.points->size());
    if (arrays.faces) writer.face4(arrays.faces->data(), arrays.faces->size() / 4);
    if (arrays.uvs) writer.uv4(reinterpret_cast<const float*>(arrays.uvs->data()), arrays.uvs->size() / 4);
    if (arrays.mask) writer.mask(std::span<const unsigned char>(arrays.mask->data(), arrays.mask->size()));
    if (arrays.mrgb) writer.mrgb(std::span<const std::uint32_t>(arrays.mrgb->data(), arrays.mrgb->size()));
    writer.endBlock();
    writer.close();
    return writer.bytes();
}

void writeCanonicalVek(const std::string& path, const VekArrays& arrays) { writeFileBytes(path, canonicalVekBytes(arrays)); }
