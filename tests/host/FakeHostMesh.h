#pragma once

#include "FakeHostMemory.h"
#include "host/HostLayouts.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// A host's current mesh record, laid out for one host build: each array is
// an array object (data holder, count, element size) whose holder keeps the
// data pointer, and the mesh record keeps the array object and a cached
// pointer to the same data. Everything lives in `memory`.
class FakeHostMesh {
public:
    static constexpr std::size_t kRecordBytes = 1024;
    static constexpr std::size_t kArrayObjectBytes = 128;
    static constexpr std::size_t kHolderBytes = 64;

    FakeHostMesh(FakeHostMemory& memory, const MeshLayout& layout);

    unsigned char* record() const { return m_record; }
    const MeshLayout& layout() const { return m_layout; }

    // An array of `count` elements of `elementSize` bytes, copied from
    // `bytes` (`size` bytes); the cached pointer is set unless `cache` is
    // false. Returns the data in host memory.
    unsigned char* setArray(const MeshArrayOffsets& at, const void* bytes, std::size_t size, int count, int elementSize,
                            bool cache = true);

    // Three floats (3.12 layouts) or three 16.16 values (3.1) a vertex.
    unsigned char* setFloatVertices(const std::vector<float>& xyz);
    unsigned char* setFixedVertices(const std::vector<std::int32_t>& xyz);
    // Four indices a face.
    unsigned char* setFaces(const std::vector<std::int32_t>& indices);
    // Eight values (four corners of s, t) a face.
    unsigned char* setFloatUVLinks(const std::vector<float>& st);
    unsigned char* setFixedUVLinks(const std::vector<std::int32_t>& st);
    // One 8-byte record a vertex: the first word, then the colour word.
    unsigned char* setVertexAttribs(const std::vector<std::uint32_t>& colours);
    unsigned char* setSymmetryMap(const std::vector<std::int32_t>& entries);
    void setImportTransform(const float scale[3], const float offset[3]);

    // The array object behind `at` (null when none), and edits of its words
    // and of the record's cached pointer.
    unsigned char* arrayObject(const MeshArrayOffsets& at) const;
    void setCount(const MeshArrayOffsets& at, std::int32_t count);
    void setElementSize(const MeshArrayOffsets& at, std::int32_t elementSize);
    void setCached(const MeshArrayOffsets& at, const void* pointer);
    void removeHolder(const MeshArrayOffsets& at);

private:
    FakeHostMemory& m_memory;
    MeshLayout m_layout;
    unsigned char* m_record;
};

// The host data argument of a script call (eight 32-bit slots) with a host
// document whose active view is a lone window, laid out for one host build.
class FakeHostData {
public:
    static constexpr std::size_t kDocumentBytes = 1024;
    static constexpr std::size_t kWindowBytes = 256;

    explicit FakeHostData(FakeHostMemory& memory);

    char** hostData() const { return m_slots; }
    void setSlot(int slot, const void* pointer);

    // A document whose active view (at byte `activeViewOffset`) is a new
    // window without links; returns the window.
    void* setDocument(std::size_t activeViewOffset);
    void* document() const { return m_document; }
    // A texture owner with an image record holding `pixels`, laid out as
    // `owner` and `image` say; the extent fields are left for the caller.
    unsigned char* setTextureOwner(const ImageOwnerLayout& owner, const ImageRecordLayout& image, void* pixels,
                                   std::uint32_t bufferSize, std::int16_t rowBytes);

private:
    FakeHostMemory& m_memory;
    char** m_slots;
    void* m_document = nullptr;
};
