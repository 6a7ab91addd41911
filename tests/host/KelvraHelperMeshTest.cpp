#include "FakeHostMemory.h"
#include "FakeHostMesh.h"
#include "host/KelvraHelper.h"
#include "host/KelvraHelperInternal.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

struct NamedLayout {
    const char* name;
    const MeshLayout& layout;
};

const NamedLayout kLayouts[] = {{"3.1", kMesh31},
                                {"3.12", kMesh312},
                                {"3.12 B27", kMesh312B27},
                                {"3.12 B43", kMesh312B43},
                                {"3.12 B46", kMesh312B46}};

// Two triangles over four vertices, with UV links and vertex attributes.
void fillMesh(FakeHostMesh& mesh) {
    if (mesh.layout().fixedPoint) {
        mesh.setFixedVertices({0, 0, 0, 65536, 0, 0, 0, 65536, 0, 65536, 65536, 0});
        mesh.setFixedUVLinks(std::vector<std::int32_t>(16, 1 << 23));
    } else {
        mesh.setFloatVertices({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0});
        mesh.setFloatUVLinks(std::vector<float>(16, 0.5f));
    }
    mesh.setFaces({0, 1, 2, -1, 1, 3, 2, -1});
    mesh.setVertexAttribs({0x00FF0000u, 0x0000FF00u, 0x000000FFu, 0x00FFFFFFu});
}

bool readsAs(FakeHostMesh& mesh) {
    KMeshRecordBinding binding;
    return readMeshRecord(mesh.record(), mesh.layout(), binding);
}

class KelvraHelperMeshTest : public ::testing::Test {
protected:
    void SetUp() override { KelvraHelper::clear(); }
    void TearDown() override { KelvraHelper::clear(); }

    FakeHostMemory m_memory;
};

// ------------------------------------------------------------ record reading

TEST_F(KelvraHelperMeshTest, ValidRecordOfEveryLayoutIsRead) {
    for (const NamedLayout& named : kLayouts) {
        FakeHostMesh mesh(m_memory, named.layout);
        fillMesh(mesh);
        KMeshRecordBinding binding;
        ASSERT_TRUE(readMeshRecord(mesh.record(), named.layout, binding)) << named.name;
        EXPECT_EQ(binding.numVertices, 4) << named.name;
        EXPECT_EQ(binding.numFaces, 2) << named.name;
        EXPECT_EQ(binding.numUVLinks, 2) << named.name;
        EXPECT_EQ(binding.numVertexAttribs, 4) << named.name;
        EXPECT_EQ(binding.faces != nullptr, true) << named.name;
        EXPECT_EQ(binding.verticesFix32 != nullptr, named.layout.fixedPoint) << named.name;
        EXPECT_EQ(binding.verticesFlt32 != nullptr, !named.layout.fixedPoint) << named.name;
        EXPECT_EQ(binding.uvLinksFix32 != nullptr, named.layout.fixedPoint) << named.name;
        EXPECT_EQ(binding.uvLinksFlt32 != nullptr, !named.layout.fixedPoint) << named.name;
        EXPECT_EQ(reinterpret_cast<unsigned char*>(binding.importedScaleFactor),
                  mesh.record() + named.layout.importScale)
            << named.name;
        EXPECT_EQ(reinterpret_cast<unsigned char*>(binding.importedOffset), mesh.record() + named.layout.importOffset)
            << named.name;
    }
}

TEST_F(KelvraHelperMeshTest, StoredRecordBecomesTheHelperState) {
    FakeHostMesh mesh(m_memory, kMesh312B46);
    fillMesh(mesh);
    unsigned char* symmetry = mesh.setSymmetryMap({3, 2, 1, 0});
    KMeshRecordBinding binding;
    ASSERT_TRUE(readMeshRecord(mesh.record(), kMesh312B46, binding));
    storeMeshRecord(binding);
    EXPECT_TRUE(KelvraHelper::s_meshIsValid);
    EXPECT_EQ(KelvraHelper::s_symmetryMap, reinterpret_cast<std::int32_t*>(symmetry));
    EXPECT_EQ(KelvraHelper::s_symmetryMapSize, 4);
    EXPECT_EQ(KelvraHelper::s_numVertices, 4);
    EXPECT_EQ(KelvraHelper::s_numFaces, 2);
}

TEST_F(KelvraHelperMeshTest, FailedReadLeavesTheBindingUntouched) {
    FakeHostMesh mesh(m_memory, kMesh312);
    fillMesh(mesh);
    mesh.setCount(kMesh312.vertices, -1);
    KMeshRecordBinding binding;
    binding.numVertices = 99;
    EXPECT_FALSE(readMeshRecord(mesh.record(), kMesh312, binding));
    EXPECT_EQ(binding.numVertices, 99);
}

TEST_F(KelvraHelperMeshTest, NegativeVertexCountFails) {
    FakeHostMesh mesh(m_memory, kMesh312);
    fillMesh(mesh);
    mesh.setCount(kMesh312.vertices, -4);
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, NegativeFaceCountFails) {
    FakeHostMesh mesh(m_memory, kMesh312);
    fillMesh(mesh);
    mesh.setCount(kMesh312.faces, -2);
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, EmptyMeshIsValid) {
    FakeHostMesh mesh(m_memory, kMesh312B43);
    mesh.setFloatVertices({});
    mesh.setFaces({});
    KMeshRecordBinding binding;
    ASSERT_TRUE(readMeshRecord(mesh.record(), kMesh312B43, binding));
    EXPECT_EQ(binding.numVertices, 0);
    EXPECT_EQ(binding.numFaces, 0);
}

TEST_F(KelvraHelperMeshTest, WrongVertexElementSizeFails) {
    FakeHostMesh mesh(m_memory, kMesh312B27);
    fillMesh(mesh);
    mesh.setElementSize(kMesh312B27.vertices, 16);
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, WrongFaceElementSizeFails) {
    FakeHostMesh mesh(m_memory, kMesh312B27);
    fillMesh(mesh);
    mesh.setElementSize(kMesh312B27.faces, 12);
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, CachedVertexPointerMismatchFails) {
    FakeHostMesh mesh(m_memory, kMesh31);
    fillMesh(mesh);
    mesh.setCached(kMesh31.vertices, m_memory.allocate(48));
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, CachedFacePointerMismatchFails) {
    FakeHostMesh mesh(m_memory, kMesh31);
    fillMesh(mesh);
    mesh.setCached(kMesh31.faces, m_memory.allocate(48));
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, NullCachedPointersAreAccepted) {
    FakeHostMesh mesh(m_memory, kMesh31);
    fillMesh(mesh);
    mesh.setCached(kMesh31.vertices, nullptr);
    mesh.setCached(kMesh31.faces, nullptr);
    mesh.setCached(kMesh31.uvLinks, nullptr);
    mesh.setCached(kMesh31.vertexAttribs, nullptr);
    EXPECT_TRUE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, MissingVertexArrayFails) {
    FakeHostMesh mesh(m_memory, kMesh312);
    mesh.setFaces({});
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, VertexArrayWithoutHolderFails) {
    FakeHostMesh mesh(m_memory, kMesh312);
    fillMesh(mesh);
    mesh.removeHolder(kMesh312.vertices);
    mesh.setCached(kMesh312.vertices, nullptr);
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, UVLinkCountDifferentFromFaceCountFails) {
    FakeHostMesh mesh(m_memory, kMesh312);
    fillMesh(mesh);
    mesh.setCount(kMesh312.uvLinks, 3);
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, WrongUVLinkElementSizeFails) {
    FakeHostMesh mesh(m_memory, kMesh312);
    fillMesh(mesh);
    mesh.setElementSize(kMesh312.uvLinks, 16);
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, CachedUVLinkPointerMismatchFails) {
    FakeHostMesh mesh(m_memory, kMesh312);
    fillMesh(mesh);
    mesh.setCached(kMesh312.uvLinks, m_memory.allocate(64));
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, EmptyUVLinkArrayIsAllowedAndLeftUnbound) {
    FakeHostMesh mesh(m_memory, kMesh312);
    fillMesh(mesh);
    mesh.setCount(kMesh312.uvLinks, 0);
    mesh.setElementSize(kMesh312.uvLinks, 0);
    KMeshRecordBinding binding;
    ASSERT_TRUE(readMeshRecord(mesh.record(), kMesh312, binding));
    EXPECT_EQ(binding.numUVLinks, 0);
    EXPECT_EQ(binding.uvLinksFlt32, nullptr);
}

TEST_F(KelvraHelperMeshTest, UVLinkArrayWithoutHolderIsAllowed) {
    FakeHostMesh mesh(m_memory, kMesh312);
    fillMesh(mesh);
    mesh.removeHolder(kMesh312.uvLinks);
    KMeshRecordBinding binding;
    ASSERT_TRUE(readMeshRecord(mesh.record(), kMesh312, binding));
    EXPECT_EQ(binding.numUVLinks, 0);
    EXPECT_EQ(binding.uvLinksFlt32, nullptr);
}

TEST_F(KelvraHelperMeshTest, MissingOptionalArraysAreAllowed) {
    FakeHostMesh mesh(m_memory, kMesh312B46);
    mesh.setFloatVertices({1, 2, 3});
    mesh.setFaces({0, 0, 0, -1});
    KMeshRecordBinding binding;
    ASSERT_TRUE(readMeshRecord(mesh.record(), kMesh312B46, binding));
    EXPECT_EQ(binding.vertexAttribs, nullptr);
    EXPECT_EQ(binding.numVertexAttribs, 0);
    EXPECT_EQ(binding.symmetryMap, nullptr);
    EXPECT_EQ(binding.symmetryMapSize, 0);
}

TEST_F(KelvraHelperMeshTest, VertexAttributeCountDifferentFromVertexCountFails) {
    FakeHostMesh mesh(m_memory, kMesh312B43);
    fillMesh(mesh);
    mesh.setCount(kMesh312B43.vertexAttribs, 5);
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, WrongVertexAttributeElementSizeFails) {
    FakeHostMesh mesh(m_memory, kMesh312B43);
    fillMesh(mesh);
    mesh.setElementSize(kMesh312B43.vertexAttribs, 4);
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, SymmetryMapCountDifferentFromVertexCountFailsInBuild46) {
    FakeHostMesh mesh(m_memory, kMesh312B46);
    fillMesh(mesh);
    mesh.setSymmetryMap({0, 1, 2});
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, WrongSymmetryMapElementSizeFailsInBuild46) {
    FakeHostMesh mesh(m_memory, kMesh312B46);
    fillMesh(mesh);
    mesh.setSymmetryMap({0, 1, 2, 3});
    mesh.setElementSize(kMesh312B46.symmetryMap, 8);
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, CachedSymmetryMapPointerMismatchFailsInBuild46) {
    FakeHostMesh mesh(m_memory, kMesh312B46);
    fillMesh(mesh);
    mesh.setSymmetryMap({0, 1, 2, 3});
    mesh.setCached(kMesh312B46.symmetryMap, m_memory.allocate(16));
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, Build43IgnoresTheSymmetryMapWords) {
    FakeHostMesh mesh(m_memory, kMesh312B43);
    fillMesh(mesh);
    // A symmetry array that build 46 would reject (3 entries for 4 vertices).
    mesh.setArray(kMesh312B46.symmetryMap, "abc", 3, 3, 4);
    KMeshRecordBinding binding;
    ASSERT_TRUE(readMeshRecord(mesh.record(), kMesh312B43, binding));
    EXPECT_EQ(binding.symmetryMap, nullptr);
}

TEST_F(KelvraHelperMeshTest, RecordInUnmappedMemoryFails) {
    KMeshRecordBinding binding;
    EXPECT_FALSE(readMeshRecord(m_memory.unmappedAddress(), kMesh312, binding));
}

TEST_F(KelvraHelperMeshTest, RecordInProtectedMemoryFails) {
    KMeshRecordBinding binding;
    EXPECT_FALSE(readMeshRecord(m_memory.protectedAddress(), kMesh312B46, binding));
}

TEST_F(KelvraHelperMeshTest, ArrayObjectInUnmappedMemoryFails) {
    FakeHostMesh mesh(m_memory, kMesh312);
    fillMesh(mesh);
    FakeHostMemory::link(mesh.record(), kMesh312.faces.object, m_memory.unmappedAddress());
    EXPECT_FALSE(readsAs(mesh));
}

TEST_F(KelvraHelperMeshTest, HolderInProtectedMemoryFails) {
    FakeHostMesh mesh(m_memory, kMesh312B46);
    fillMesh(mesh);
    FakeHostMemory::link(mesh.arrayObject(kMesh312B46.vertexAttribs), kMesh312B46.arrayHolder,
                         m_memory.protectedAddress());
    EXPECT_FALSE(readsAs(mesh));
}

// ------------------------------------------------------------ accessors

TEST_F(KelvraHelperMeshTest, FixedPointVerticesAreScaledBy65536) {
    std::int32_t vertices[] = {65536, -32768, 0};
    KelvraHelper::s_verticesFix32 = vertices;
    float out[3] = {9, 9, 9};
    KelvraHelper::getVertex(0, out);
    EXPECT_EQ(out[0], 1.0f);
    EXPECT_EQ(out[1], -0.5f);
    EXPECT_EQ(out[2], 0.0f);
}

TEST_F(KelvraHelperMeshTest, FloatVerticesAreCopied) {
    float vertices[] = {1, 2, 3, 4.5f, -5.25f, 6};
    KelvraHelper::s_verticesFlt32 = vertices;
    float out[3];
    KelvraHelper::getVertex(1, out);
    EXPECT_EQ(out[0], 4.5f);
    EXPECT_EQ(out[1], -5.25f);
    EXPECT_EQ(out[2], 6.0f);
}

TEST_F(KelvraHelperMeshTest, FloatVerticesArePreferredToFixedPoint) {
    float floats[] = {7, 8, 9};
    std::int32_t fixed[] = {65536, 65536, 65536};
    KelvraHelper::s_verticesFlt32 = floats;
    KelvraHelper::s_verticesFix32 = fixed;
    float out[3];
    KelvraHelper::getVertex(0, out);
    EXPECT_EQ(out[0], 7.0f);
}

TEST_F(KelvraHelperMeshTest, TransformedVertexUndoesTheImportTransform) {
    float vertices[] = {3, 5, 7};
    float scale[] = {0, 2, 0};
    float offset[] = {1, 1, 1};
    KelvraHelper::s_verticesFlt32 = vertices;
    KelvraHelper::s_importedScaleFactor = scale;
    KelvraHelper::s_importedOffset = offset;
    float out[3];
    KelvraHelper::getTransformedVertex(0, out);
    EXPECT_EQ(out[0], 2.0f);
    EXPECT_EQ(out[1], 2.0f);
    EXPECT_EQ(out[2], 6.0f);
}

TEST_F(KelvraHelperMeshTest, TransformedFixedPointVertex) {
    std::int32_t vertices[] = {3 << 16, 5 << 16, -(7 << 15)};
    float scale[] = {4, 0.5f, 1};
    float offset[] = {1, 0, -0.5f};
    KelvraHelper::s_verticesFix32 = vertices;
    KelvraHelper::s_importedScaleFactor = scale;
    KelvraHelper::s_importedOffset = offset;
    float out[3];
    KelvraHelper::getTransformedVertex(0, out);
    EXPECT_EQ(out[0], 0.5f);
    EXPECT_EQ(out[1], 10.0f);
    EXPECT_EQ(out[2], -3.0f);
}

TEST_F(KelvraHelperMeshTest, NoMeshLeavesBothOutputsUntouched) {
    float scale[] = {1, 1, 1};
    float offset[] = {0, 0, 0};
    KelvraHelper::s_importedScaleFactor = scale;
    KelvraHelper::s_importedOffset = offset;
    float out[3] = {1.5f, 2.5f, 3.5f};
    KelvraHelper::getVertex(0, out);
    KelvraHelper::getTransformedVertex(0, out);
    EXPECT_EQ(out[0], 1.5f);
    EXPECT_EQ(out[1], 2.5f);
    EXPECT_EQ(out[2], 3.5f);
}

TEST_F(KelvraHelperMeshTest, AccessorsReadTheMeshThatInitBound) {
    FakeHostMesh mesh(m_memory, kMesh31);
    mesh.setFixedVertices({0, 0, 0, 3 << 16, 1 << 15, -(1 << 16)});
    mesh.setFaces({0, 1, 1, -1});
    const float scale[] = {2, 0, 0};
    const float offset[] = {1, 0, 0};
    mesh.setImportTransform(scale, offset);
    KMeshRecordBinding binding;
    ASSERT_TRUE(readMeshRecord(mesh.record(), kMesh31, binding));
    storeMeshRecord(binding);

    float raw[3], placed[3];
    KelvraHelper::getVertex(1, raw);
    KelvraHelper::getTransformedVertex(1, placed);
    EXPECT_EQ(raw[0], 3.0f);
    EXPECT_EQ(raw[1], 0.5f);
    EXPECT_EQ(raw[2], -1.0f);
    EXPECT_EQ(placed[0], 1.0f);
    EXPECT_EQ(placed[1], 0.5f);
    EXPECT_EQ(placed[2], -1.0f);
}

}  // namespace
