#include "FakeHostMemory.h"
#include "FakeHostMesh.h"
#include "host/KDocWrappers.h"
#include "host/KelvraHelper.h"
#include "host/KelvraHelperInternal.h"
#include "support/QMInfoMsg.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const char kNoVersion[] = "Error: cannot find Kelvra version!";
const char kTooOld[] = "Error: Kelvra version is too old.\nVarnoth requires at least Kelvra 3.1 to work!";
const char kTooRecentError[] =
    "Error: Kelvra version is too recent for current Varnoth version.\n"
    "Your Varnoth version will not work with your Kelvra version.\n"
    "Please update the Varnoth plugin to its last version!";
const char kTooRecentWarning[] =
    "Warning: Kelvra version is too recent for current Varnoth version.\n"
    "This may result in unexpected results or some features not working while using Varnoth.\n"
    "Please update the Varnoth plugin to its last version!";

class KelvraHelperInitTest : public ::testing::Test {
protected:
    void SetUp() override {
        KelvraHelper::clear();
        KelvraHelper::s_version = KelvraHelper::kVersionUnset;
        QMInfoMsg::setObserver([this](const char* text, const char* title) {
            m_messages.push_back(text ? text : "<null>");
            m_titles.push_back(title);
        });
    }
    void TearDown() override {
        QMInfoMsg::setObserver(nullptr);
        KelvraHelper::clear();
    }

    // A small valid mesh (one triangle) for `layout`; returns its vertex data.
    unsigned char* addTriangleMesh(FakeHostMesh& mesh) {
        unsigned char* vertices = mesh.layout().fixedPoint ? mesh.setFixedVertices({0, 0, 0, 65536, 0, 0, 0, 65536, 0})
                                                           : mesh.setFloatVertices({0, 0, 0, 1, 0, 0, 0, 1, 0});
        mesh.setFaces({0, 1, 2, -1});
        m_data.setSlot(kHostDataMesh, mesh.record());
        return vertices;
    }

    FakeHostMemory m_memory;
    FakeHostData m_data{m_memory};
    std::vector<std::string> m_messages;
    std::vector<const char*> m_titles;
};

TEST_F(KelvraHelperInitTest, NullHostDataOnlyClearsTheState) {
    KelvraHelper::setVersion(3.12);
    KelvraHelper::s_meshIsValid = true;
    KelvraHelper::s_docIsValid = true;
    KelvraHelper::s_texIsValid = true;
    KelvraHelper::s_utilIsValid = true;
    KelvraHelper::s_numVertices = 7;
    KelvraHelper::s_numFaces = 3;
    KelvraHelper::s_textureBitmap.m_bufferSize = 64;

    KelvraHelper::init(nullptr);

    EXPECT_FALSE(KelvraHelper::s_meshIsValid);
    EXPECT_FALSE(KelvraHelper::s_docIsValid);
    EXPECT_FALSE(KelvraHelper::s_texIsValid);
    EXPECT_FALSE(KelvraHelper::s_utilIsValid);
    EXPECT_EQ(KelvraHelper::s_numVertices, 0);
    EXPECT_EQ(KelvraHelper::s_numFaces, 0);
    EXPECT_EQ(KelvraHelper::s_textureBitmap.m_bufferSize, 0u);
    EXPECT_EQ(KelvraHelper::s_version, 312);
    EXPECT_TRUE(m_messages.empty());
}

TEST_F(KelvraHelperInitTest, ClearKeepsTheVersionCode) {
    KelvraHelper::setVersion(3.1);
    KelvraHelper::s_doc = reinterpret_cast<KDoc*>(m_data.document());
    KelvraHelper::s_importedOffset = reinterpret_cast<float*>(&m_titles);
    KelvraHelper::clear();
    EXPECT_EQ(KelvraHelper::s_version, 310);
    EXPECT_EQ(KelvraHelper::s_importedOffset, nullptr);
}

TEST_F(KelvraHelperInitTest, InitBeforeSetVersionShowsVersionNotFound) {
    m_data.setDocument(kDocActiveView312);
    KelvraHelper::init(m_data.hostData());
    ASSERT_EQ(m_messages, std::vector<std::string>{kNoVersion});
    EXPECT_EQ(m_titles[0], nullptr);
    EXPECT_FALSE(KelvraHelper::s_docIsValid);
}

TEST_F(KelvraHelperInitTest, VersionOlderThan31ShowsTooOld) {
    KelvraHelper::setVersion(3.0);
    m_data.setDocument(kDocActiveView31);
    KelvraHelper::init(m_data.hostData());
    EXPECT_EQ(m_messages, std::vector<std::string>{kTooOld});
    EXPECT_FALSE(KelvraHelper::s_docIsValid);
}

TEST_F(KelvraHelperInitTest, Version31BindsMeshAndDocumentWithThe31Layouts) {
    KelvraHelper::setVersion(3.1);
    FakeHostMesh mesh(m_memory, kMesh31);
    unsigned char* vertices = addTriangleMesh(mesh);
    void* view = m_data.setDocument(kDocActiveView31);

    KelvraHelper::init(m_data.hostData());

    EXPECT_TRUE(m_messages.empty());
    EXPECT_TRUE(KelvraHelper::s_meshIsValid);
    EXPECT_EQ(KelvraHelper::s_verticesFix32, reinterpret_cast<std::int32_t*>(vertices));
    EXPECT_EQ(KelvraHelper::s_verticesFlt32, nullptr);
    EXPECT_EQ(KelvraHelper::s_numVertices, 3);
    EXPECT_TRUE(KelvraHelper::s_docIsValid);
    EXPECT_EQ(KelvraHelper::s_docWrapper, &KDocWrapper31::instance());
    EXPECT_EQ(KelvraHelper::s_doc, m_data.document());
    EXPECT_EQ(KelvraHelper::s_rootWindow, view);
}

TEST_F(KelvraHelperInitTest, Version31FailureShowsNothing) {
    KelvraHelper::setVersion(3.1);
    KelvraHelper::init(m_data.hostData());  // no document: init31 fails
    EXPECT_FALSE(KelvraHelper::s_docIsValid);
    EXPECT_TRUE(m_messages.empty());
}

TEST_F(KelvraHelperInitTest, Version312BindsEveryMeshMemberWithThe312Layout) {
    KelvraHelper::setVersion(3.12);
    FakeHostMesh mesh(m_memory, kMesh312);
    unsigned char* vertices = mesh.setFloatVertices({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0});
    unsigned char* faces = mesh.setFaces({0, 1, 2, -1, 0, 2, 3, 1});
    unsigned char* uvs = mesh.setFloatUVLinks(std::vector<float>(16, 0.5f));
    unsigned char* attribs = mesh.setVertexAttribs({1, 2, 3, 4});
    m_data.setSlot(kHostDataMesh, mesh.record());
    void* view = m_data.setDocument(kDocActiveView312);

    KelvraHelper::init(m_data.hostData());

    EXPECT_TRUE(m_messages.empty());
    ASSERT_TRUE(KelvraHelper::s_meshIsValid);
    EXPECT_EQ(KelvraHelper::s_verticesFlt32, reinterpret_cast<float*>(vertices));
    EXPECT_EQ(KelvraHelper::s_verticesFix32, nullptr);
    EXPECT_EQ(KelvraHelper::s_numVertices, 4);
    EXPECT_EQ(KelvraHelper::s_faces, reinterpret_cast<std::int32_t*>(faces));
    EXPECT_EQ(KelvraHelper::s_numFaces, 2);
    EXPECT_EQ(KelvraHelper::s_uvLinksFlt32, reinterpret_cast<float*>(uvs));
    EXPECT_EQ(KelvraHelper::s_uvLinksFix32, nullptr);
    EXPECT_EQ(KelvraHelper::s_numUVLinks, 2);
    EXPECT_EQ(KelvraHelper::s_vertexAttribs, attribs);
    EXPECT_EQ(KelvraHelper::s_numVertexAttribs, 4);
    EXPECT_EQ(KelvraHelper::s_symmetryMap, nullptr);
    EXPECT_EQ(KelvraHelper::s_symmetryMapSize, 0);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(KelvraHelper::s_importedScaleFactor), mesh.record() + 580);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(KelvraHelper::s_importedOffset), mesh.record() + 592);
    EXPECT_EQ(KelvraHelper::s_docWrapper, &KDocWrapper312::instance());
    EXPECT_EQ(KelvraHelper::s_rootWindow, view);
    EXPECT_FALSE(KelvraHelper::s_texIsValid);
    EXPECT_FALSE(KelvraHelper::s_utilIsValid);
}

TEST_F(KelvraHelperInitTest, MeshValidatedButNoActiveViewShowsTheWarning) {
    KelvraHelper::setVersion(3.12);
    FakeHostMesh mesh(m_memory, kMesh312);
    unsigned char* vertices = addTriangleMesh(mesh);

    KelvraHelper::init(m_data.hostData());

    EXPECT_EQ(m_messages, std::vector<std::string>{kTooRecentWarning});
    EXPECT_TRUE(KelvraHelper::s_meshIsValid);
    // Still the mesh that init312 found: the later initialisers did not re-read it.
    EXPECT_EQ(KelvraHelper::s_verticesFlt32, reinterpret_cast<float*>(vertices));
    EXPECT_EQ(reinterpret_cast<unsigned char*>(KelvraHelper::s_importedOffset), mesh.record() + 592);
    EXPECT_FALSE(KelvraHelper::s_docIsValid);
}

TEST_F(KelvraHelperInitTest, NothingBoundShowsTheError) {
    KelvraHelper::setVersion(3.12);
    KelvraHelper::init(m_data.hostData());
    EXPECT_EQ(m_messages, std::vector<std::string>{kTooRecentError});
    EXPECT_EQ(m_titles[0], nullptr);
}

TEST_F(KelvraHelperInitTest, MeshFoundByOneInitialiserIsKeptWhenALaterOneBindsTheDocument) {
    KelvraHelper::setVersion(3.12);
    // The mesh has the 3.12 layout, the document the B43 one: init312 binds
    // the mesh, init312B27 finds no view either, init312B43 binds the view.
    FakeHostMesh mesh(m_memory, kMesh312);
    unsigned char* vertices = addTriangleMesh(mesh);
    void* view = m_data.setDocument(kDocActiveViewB43);

    KelvraHelper::init(m_data.hostData());

    EXPECT_TRUE(m_messages.empty());
    EXPECT_TRUE(KelvraHelper::s_meshIsValid);
    EXPECT_EQ(KelvraHelper::s_verticesFlt32, reinterpret_cast<float*>(vertices));
    EXPECT_EQ(reinterpret_cast<unsigned char*>(KelvraHelper::s_importedScaleFactor), mesh.record() + 580);
    EXPECT_TRUE(KelvraHelper::s_docIsValid);
    EXPECT_EQ(KelvraHelper::s_docWrapper, &KDocWrapper312B43::instance());
    EXPECT_EQ(KelvraHelper::s_rootWindow, view);
}

TEST_F(KelvraHelperInitTest, LaterInitialiserReadsTheMeshWithItsOwnLayout) {
    KelvraHelper::setVersion(3.12);
    FakeHostMesh mesh(m_memory, kMesh312B27);
    unsigned char* vertices = addTriangleMesh(mesh);
    m_data.setDocument(kDocActiveView312);

    KelvraHelper::init(m_data.hostData());

    EXPECT_TRUE(m_messages.empty());
    EXPECT_EQ(KelvraHelper::s_verticesFlt32, reinterpret_cast<float*>(vertices));
    EXPECT_EQ(reinterpret_cast<unsigned char*>(KelvraHelper::s_importedOffset), mesh.record() + 620);
    EXPECT_EQ(KelvraHelper::s_docWrapper, &KDocWrapper312B27::instance());
}

TEST_F(KelvraHelperInitTest, NullMeshSlotIsNotAFailure) {
    KelvraHelper::setVersion(3.12);
    m_data.setDocument(kDocActiveView312);

    KelvraHelper::init(m_data.hostData());

    EXPECT_TRUE(m_messages.empty());
    EXPECT_FALSE(KelvraHelper::s_meshIsValid);
    EXPECT_TRUE(KelvraHelper::s_docIsValid);
    EXPECT_EQ(KelvraHelper::s_docWrapper, &KDocWrapper312::instance());
}

TEST_F(KelvraHelperInitTest, MeshValidationFailureMakesTheInitialiserFail) {
    KelvraHelper::setVersion(3.12);
    FakeHostMesh mesh(m_memory, kMesh312);
    addTriangleMesh(mesh);
    mesh.setElementSize(kMesh312.vertices, 16);
    m_data.setDocument(kDocActiveView312);

    KelvraHelper::init(m_data.hostData());

    // Every 3.12 initialiser stops at the mesh, before the document.
    EXPECT_EQ(m_messages, std::vector<std::string>{kTooRecentError});
    EXPECT_FALSE(KelvraHelper::s_meshIsValid);
    EXPECT_FALSE(KelvraHelper::s_docIsValid);
    EXPECT_EQ(KelvraHelper::s_verticesFlt32, nullptr);
}

TEST_F(KelvraHelperInitTest, MeshRecordInUnmappedMemoryFailsWithoutCrashing) {
    KelvraHelper::setVersion(3.12);
    m_data.setSlot(kHostDataMesh, m_memory.unmappedAddress());
    m_data.setDocument(kDocActiveView312);

    KelvraHelper::init(m_data.hostData());

    EXPECT_EQ(m_messages, std::vector<std::string>{kTooRecentError});
    EXPECT_FALSE(KelvraHelper::s_meshIsValid);
    EXPECT_FALSE(KelvraHelper::s_docIsValid);
}

TEST_F(KelvraHelperInitTest, Versions32AndLaterUseThe312Layouts) {
    for (double version : {3.2, 3.5}) {
        KelvraHelper::setVersion(version);
        FakeHostData data(m_memory);
        data.setDocument(kDocActiveView312);
        KelvraHelper::init(data.hostData());
        EXPECT_EQ(KelvraHelper::s_docWrapper, &KDocWrapper312::instance()) << version;
    }
    EXPECT_TRUE(m_messages.empty());
}

TEST_F(KelvraHelperInitTest, InitRebindsFromScratch) {
    KelvraHelper::setVersion(3.12);
    FakeHostMesh mesh(m_memory, kMesh312);
    addTriangleMesh(mesh);
    m_data.setDocument(kDocActiveView312);
    KelvraHelper::init(m_data.hostData());
    ASSERT_TRUE(KelvraHelper::s_meshIsValid);

    FakeHostData other(m_memory);
    other.setDocument(kDocActiveView312);
    KelvraHelper::init(other.hostData());

    EXPECT_FALSE(KelvraHelper::s_meshIsValid);
    EXPECT_EQ(KelvraHelper::s_verticesFlt32, nullptr);
    EXPECT_EQ(KelvraHelper::s_doc, other.document());
}

TEST_F(KelvraHelperInitTest, TextureOwnerWithFloatExtentsFillsTheBitmap) {
    KelvraHelper::setVersion(3.12);
    m_data.setDocument(kDocActiveView312);
    unsigned char* pixels = m_memory.record<unsigned char>(64);
    unsigned char* owner = m_data.setTextureOwner(kImageOwner312, kImageRecord31, pixels, 64, 16);
    writeHostField<float>(owner, kImageOwner312.firstExtent, 63.9f);
    writeHostField<float>(owner, kImageOwner312.secondExtent, 4.0f);

    KelvraHelper::init(m_data.hostData());

    ASSERT_TRUE(KelvraHelper::s_texIsValid);
    EXPECT_EQ(KelvraHelper::s_textureBitmap.m_pixels, pixels);
    EXPECT_EQ(KelvraHelper::s_textureBitmap.m_bufferSize, 64u);
    EXPECT_EQ(KelvraHelper::s_textureBitmap.m_rowBytes, 16);
    EXPECT_EQ(KelvraHelper::s_textureBitmap.m_firstExtent, 64u);
    EXPECT_EQ(KelvraHelper::s_textureBitmap.m_secondExtent, 4u);
}

TEST_F(KelvraHelperInitTest, TextureOwnerOf31HasFixedPointExtents) {
    KelvraHelper::setVersion(3.1);
    m_data.setDocument(kDocActiveView31);
    unsigned char* pixels = m_memory.record<unsigned char>(32);
    unsigned char* owner = m_data.setTextureOwner(kImageOwner31, kImageRecord31, pixels, 32, -8);
    writeHostField<std::int32_t>(owner, kImageOwner31.firstExtent, (100 << 16) + 0xFFFF);
    writeHostField<std::int32_t>(owner, kImageOwner31.secondExtent, 20 << 16);

    KelvraHelper::init(m_data.hostData());

    ASSERT_TRUE(KelvraHelper::s_texIsValid);
    EXPECT_EQ(KelvraHelper::s_textureBitmap.m_rowBytes, -8);
    EXPECT_EQ(KelvraHelper::s_textureBitmap.m_firstExtent, 100u);
    EXPECT_EQ(KelvraHelper::s_textureBitmap.m_secondExtent, 20u);
}

TEST_F(KelvraHelperInitTest, TextureWithoutPixelsIsNotAFailure) {
    KelvraHelper::setVersion(3.12);
    m_data.setDocument(kDocActiveView312);
    m_data.setTextureOwner(kImageOwner312, kImageRecord31, nullptr, 64, 16);

    KelvraHelper::init(m_data.hostData());

    EXPECT_TRUE(m_messages.empty());
    EXPECT_TRUE(KelvraHelper::s_docIsValid);
    EXPECT_FALSE(KelvraHelper::s_texIsValid);
    EXPECT_EQ(KelvraHelper::s_textureBitmap.m_bufferSize, 0u);
}

TEST_F(KelvraHelperInitTest, Build46BindsTheScriptUtility) {
    m_data.setDocument(kDocActiveViewB43);
    void* utility = m_memory.allocate(16);
    m_data.setSlot(kHostDataUtility, utility);

    EXPECT_TRUE(initHostBuild(m_data.hostData(), KHostBuild::k312B46));

    EXPECT_TRUE(KelvraHelper::s_utilIsValid);
    EXPECT_EQ(KelvraHelper::s_utility, utility);
    EXPECT_EQ(KelvraHelper::s_utilWrapper, &KUtilWrapper312B46::instance());
    EXPECT_EQ(KelvraHelper::s_docWrapper, &KDocWrapper312B46::instance());
}

TEST_F(KelvraHelperInitTest, Build46FailsWithoutAScriptUtility) {
    m_data.setDocument(kDocActiveViewB43);
    EXPECT_FALSE(initHostBuild(m_data.hostData(), KHostBuild::k312B46));
    EXPECT_TRUE(KelvraHelper::s_docIsValid);
    EXPECT_FALSE(KelvraHelper::s_utilIsValid);
}

TEST_F(KelvraHelperInitTest, OtherBuildsDoNotBindTheScriptUtility) {
    m_data.setDocument(kDocActiveViewB43);
    m_data.setSlot(kHostDataUtility, m_memory.allocate(16));
    EXPECT_TRUE(initHostBuild(m_data.hostData(), KHostBuild::k312B43));
    EXPECT_FALSE(KelvraHelper::s_utilIsValid);
    EXPECT_EQ(KelvraHelper::s_utility, nullptr);
}

TEST_F(KelvraHelperInitTest, BoundStepsAreSkipped) {
    // A document already bound is kept: the build's own document slot is not read.
    KelvraHelper::s_docIsValid = true;
    KelvraHelper::s_docWrapper = &KDocWrapper31::instance();
    EXPECT_TRUE(initHostBuild(m_data.hostData(), KHostBuild::k312));
    EXPECT_EQ(KelvraHelper::s_docWrapper, &KDocWrapper31::instance());
}

}  // namespace
