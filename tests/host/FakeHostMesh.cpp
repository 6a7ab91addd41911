#include "FakeHostMesh.h"

#include <cstring>

FakeHostMesh::FakeHostMesh(FakeHostMemory& memory, const MeshLayout& layout)
    : m_memory(memory), m_layout(layout), m_record(memory.record<unsigned char>(kRecordBytes)) {}

unsigned char* FakeHostMesh::setArray(const MeshArrayOffsets& at, const void* bytes, std::size_t size, int count,
                                      int elementSize, bool cache) {
    unsigned char* data = m_memory.record<unsigned char>(size > 0 ? size : 16);
    if (size > 0) std::memcpy(data, bytes, size);
    unsigned char* holder = m_memory.record<unsigned char>(kHolderBytes);
    unsigned char* object = m_memory.record<unsigned char>(kArrayObjectBytes);
    FakeHostMemory::link(holder, m_layout.arrayHolder, data);
    FakeHostMemory::link(object, m_layout.arrayHolder, holder);
    writeHostField<std::int32_t>(object, m_layout.arrayCount, count);
    writeHostField<std::int32_t>(object, m_layout.arrayElementSize, elementSize);
    FakeHostMemory::link(m_record, at.object, object);
    FakeHostMemory::link(m_record, at.cached, cache ? data : nullptr);
    return data;
}

unsigned char* FakeHostMesh::setFloatVertices(const std::vector<float>& xyz) {
    return setArray(m_layout.vertices, xyz.data(), xyz.size() * 4, int(xyz.size() / 3), 12);
}

unsigned char* FakeHostMesh::setFixedVertices(const std::vector<std::int32_t>& xyz) {
    return setArray(m_layout.vertices, xyz.data(), xyz.size() * 4, int(xyz.size() / 3), 12);
}

unsigned char* FakeHostMesh::setFaces(const std::vector<std::int32_t>& indices) {
    return setArray(m_layout.faces, indices.data(), indices.size() * 4, int(indices.size() / 4), 16);
}

unsigned char* FakeHostMesh::setFloatUVLinks(const std::vector<float>& st) {
    return setArray(m_layout.uvLinks, st.data(), st.size() * 4, int(st.size() / 8), 32);
}

unsigned char* FakeHostMesh::setFixedUVLinks(const std::vector<std::int32_t>& st) {
    return setArray(m_layout.uvLinks, st.data(), st.size() * 4, int(st.size() / 8), 32);
}

unsigned char* FakeHostMesh::setVertexAttribs(const std::vector<std::uint32_t>& colours) {
    std::vector<std::uint32_t> records;
    for (std::uint32_t colour : colours) {
        records.push_back(0);
        records.push_back(colour);
    }
    return setArray(m_layout.vertexAttribs, records.data(), records.size() * 4, int(colours.size()), 8);
}

unsigned char* FakeHostMesh::setSymmetryMap(const std::vector<std::int32_t>& entries) {
    return setArray(m_layout.symmetryMap, entries.data(), entries.size() * 4, int(entries.size()), 4);
}

void FakeHostMesh::setImportTransform(const float scale[3], const float offset[3]) {
    for (std::size_t k = 0; k < 3; ++k) {
        writeHostField<float>(m_record, m_layout.importScale + 4 * k, scale[k]);
        writeHostField<float>(m_record, m_layout.importOffset + 4 * k, offset[k]);
    }
}

unsigned char* FakeHostMesh::arrayObject(const MeshArrayOffsets& at) const {
    return readHostPointer<unsigned char>(m_record, at.object);
}

void FakeHostMesh::setCount(const MeshArrayOffsets& at, std::int32_t count) {
    writeHostField<std::int32_t>(arrayObject(at), m_layout.arrayCount, count);
}

void FakeHostMesh::setElementSize(const MeshArrayOffsets& at, std::int32_t elementSize) {
    writeHostField<std::int32_t>(arrayObject(at), m_layout.arrayElementSize, elementSize);
}

void FakeHostMesh::setCached(const MeshArrayOffsets& at, const void* pointer) {
    FakeHostMemory::link(m_record, at.cached, pointer);
}

void FakeHostMesh::removeHolder(const MeshArrayOffsets& at) {
    FakeHostMemory::link(arrayObject(at), m_layout.arrayHolder, nullptr);
}

FakeHostData::FakeHostData(FakeHostMemory& memory) : m_memory(memory), m_slots(memory.record<char*>(32)) {}

void FakeHostData::setSlot(int slot, const void* pointer) {
    FakeHostMemory::link(m_slots, std::size_t(4) * std::size_t(slot), pointer);
}

void* FakeHostData::setDocument(std::size_t activeViewOffset) {
    m_document = m_memory.allocate(kDocumentBytes);
    void* view = m_memory.allocate(kWindowBytes);
    FakeHostMemory::link(m_document, activeViewOffset, view);
    setSlot(kHostDataDocument, m_document);
    return view;
}

unsigned char* FakeHostData::setTextureOwner(const ImageOwnerLayout& owner, const ImageRecordLayout& image,
                                             void* pixels, std::uint32_t bufferSize, std::int16_t rowBytes) {
    unsigned char* ownerRecord = m_memory.record<unsigned char>(256);
    unsigned char* imageRecord = m_memory.record<unsigned char>(128);
    FakeHostMemory::link(ownerRecord, owner.imageRecord, imageRecord);
    FakeHostMemory::link(imageRecord, image.pixels, pixels);
    writeHostField<std::uint32_t>(imageRecord, image.bufferSize, bufferSize);
    writeHostField<std::int16_t>(imageRecord, image.rowBytes, rowBytes);
    setSlot(kHostDataTextureOwner, ownerRecord);
    return ownerRecord;
}
