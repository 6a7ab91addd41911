#include "host/KelvraHelperInternal.h"

#include "host/HostMemory.h"
#include "host/HostMeshRecords.h"
#include "host/KelvraHelper.h"
#include "support/QMExceptionService.h"

namespace {

using hostmesh::kFaceBytes;
using hostmesh::kSymmetryEntryBytes;
using hostmesh::kUVLinkBytes;
using hostmesh::kVertexAttribBytes;
using hostmesh::kVertexBytes;

// What the mesh record says about one of its arrays: the array object, its
// data holder, the data pointer kept in the holder, the count and element
// size kept in the object, and the pointer the mesh record caches for the
// same data. Plain words only, so that a fault can abandon the reads at any
// point.
struct ArrayWords {
    HostAddress object = 0;
    HostAddress holder = 0;
    HostAddress data = 0;
    HostAddress cached = 0;
    std::int32_t count = 0;
    std::int32_t elementSize = 0;
};

void readArray(const void* record, const MeshArrayOffsets& at, const MeshLayout& layout, ArrayWords& words) {
    words.object = readHostField<HostAddress>(record, at.object);
    words.cached = readHostField<HostAddress>(record, at.cached);
    if (words.object == 0) return;
    const void* object = hostPointer(words.object);
    words.holder = readHostField<HostAddress>(object, layout.arrayHolder);
    words.count = readHostField<std::int32_t>(object, layout.arrayCount);
    words.elementSize = readHostField<std::int32_t>(object, layout.arrayElementSize);
    // The data pointer is the holder's word at the offset of the holder pointer.
    if (words.holder != 0) words.data = readHostField<HostAddress>(hostPointer(words.holder), layout.arrayHolder);
}

bool cachedPointerMatches(const ArrayWords& words) { return words.cached == 0 || words.cached == words.data; }

// Vertices and faces must be there (an array object with a holder), with a
// count that is not negative.
bool requiredArrayIsValid(const ArrayWords& words, std::int32_t elementSize) {
    return words.object != 0 && words.holder != 0 && words.count >= 0 && words.elementSize == elementSize &&
           cachedPointerMatches(words);
}

// UV links, vertex attributes and the symmetry map may be missing or empty;
// when present their count must equal `expectedCount`.
bool optionalArrayIsPresent(const ArrayWords& words) {
    return words.object != 0 && words.holder != 0 && words.count != 0;
}

bool optionalArrayIsValid(const ArrayWords& words, std::int32_t elementSize, std::int32_t expectedCount) {
    if (!optionalArrayIsPresent(words)) return true;
    return words.count == expectedCount && words.elementSize == elementSize && cachedPointerMatches(words);
}

template <class T>
T* dataOf(const ArrayWords& words) {
    return static_cast<T*>(hostPointer(words.data));
}

}  // namespace

bool readMeshRecord(const void* record, const MeshLayout& layout, KMeshRecordBinding& binding) {
    if (record == nullptr) return false;
    const bool hasSymmetryMap = layout.symmetryMap.object != 0;
    ArrayWords vertices, faces, uvLinks, attribs, symmetry;
    const bool readAll = readGuarded([&] {
        readArray(record, layout.vertices, layout, vertices);
        readArray(record, layout.faces, layout, faces);
        readArray(record, layout.uvLinks, layout, uvLinks);
        readArray(record, layout.vertexAttribs, layout, attribs);
        if (hasSymmetryMap) readArray(record, layout.symmetryMap, layout, symmetry);
    });
    if (!readAll) return false;

    if (!requiredArrayIsValid(vertices, kVertexBytes)) return false;
    if (!requiredArrayIsValid(faces, kFaceBytes)) return false;
    if (!optionalArrayIsValid(uvLinks, kUVLinkBytes, faces.count)) return false;
    if (!optionalArrayIsValid(attribs, kVertexAttribBytes, vertices.count)) return false;
    if (hasSymmetryMap && !optionalArrayIsValid(symmetry, kSymmetryEntryBytes, vertices.count)) return false;

    KMeshRecordBinding result;
    result.numVertices = vertices.count;
    if (layout.fixedPoint)
        result.verticesFix32 = dataOf<std::int32_t>(vertices);
    else
        result.verticesFlt32 = dataOf<float>(vertices);
    result.numFaces = faces.count;
    result.faces = dataOf<std::int32_t>(faces);
    if (optionalArrayIsPresent(uvLinks)) {
        result.numUVLinks = uvLinks.count;
        if (layout.fixedPoint)
            result.uvLinksFix32 = dataOf<std::int32_t>(uvLinks);
        else
            result.uvLinksFlt32 = dataOf<float>(uvLinks);
    }
    if (optionalArrayIsPresent(attribs)) {
        result.numVertexAttribs = attribs.count;
        result.vertexAttribs = dataOf<unsigned char>(attribs);
    }
    if (hasSymmetryMap && optionalArrayIsPresent(symmetry)) {
        result.symmetryMapSize = symmetry.count;
        result.symmetryMap = dataOf<std::int32_t>(symmetry);
    }
    // The import transform is kept inline in the mesh record.
    unsigned char* bytes = static_cast<unsigned char*>(const_cast<void*>(record));
    result.importedScaleFactor = reinterpret_cast<float*>(bytes + layout.importScale);
    result.importedOffset = reinterpret_cast<float*>(bytes + layout.importOffset);
    binding = result;
    return true;
}

void storeMeshRecord(const KMeshRecordBinding& binding) {
    KelvraHelper::s_importedOffset = binding.importedOffset;
    KelvraHelper::s_importedScaleFactor = binding.importedScaleFactor;
    KelvraHelper::s_symmetryMap = binding.symmetryMap;
    KelvraHelper::s_symmetryMapSize = binding.symmetryMapSize;
    KelvraHelper::s_vertexAttribs = binding.vertexAttribs;
    KelvraHelper::s_numVertexAttribs = binding.numVertexAttribs;
    KelvraHelper::s_uvLinksFix32 = binding.uvLinksFix32;
    KelvraHelper::s_uvLinksFlt32 = binding.uvLinksFlt32;
    KelvraHelper::s_numUVLinks = binding.numUVLinks;
    KelvraHelper::s_faces = binding.faces;
    KelvraHelper::s_numFaces = binding.numFaces;
    KelvraHelper::s_verticesFix32 = binding.verticesFix32;
    KelvraHelper::s_verticesFlt32 = binding.verticesFlt32;
    KelvraHelper::s_numVertices = binding.numVertices;
    KelvraHelper::s_meshIsValid = true;
}
