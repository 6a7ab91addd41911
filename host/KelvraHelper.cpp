#include "host/KelvraHelper.h"

#include "host/HostLayouts.h"
#include "host/HostMemory.h"
#include "host/KDocWrapperLayout.h"
#include "host/KDocWrappers.h"
#include "host/KelvraHelperInternal.h"
#include "support/QMExceptionService.h"
#include "support/QMInfoMsg.h"

KUtility* KelvraHelper::s_utility = nullptr;
KUtilWrapper* KelvraHelper::s_utilWrapper = nullptr;
bool KelvraHelper::s_utilIsValid = false;
bool KelvraHelper::s_texIsValid = false;
KWin* KelvraHelper::s_rootWindow = nullptr;
KDoc* KelvraHelper::s_doc = nullptr;
KDocWrapper* KelvraHelper::s_docWrapper = nullptr;
bool KelvraHelper::s_docIsValid = false;
float* KelvraHelper::s_importedOffset = nullptr;
float* KelvraHelper::s_importedScaleFactor = nullptr;
std::int32_t* KelvraHelper::s_symmetryMap = nullptr;
int KelvraHelper::s_symmetryMapSize = 0;
unsigned char* KelvraHelper::s_vertexAttribs = nullptr;
int KelvraHelper::s_numVertexAttribs = 0;
std::int32_t* KelvraHelper::s_uvLinksFix32 = nullptr;
float* KelvraHelper::s_uvLinksFlt32 = nullptr;
int KelvraHelper::s_numUVLinks = 0;
std::int32_t* KelvraHelper::s_faces = nullptr;
int KelvraHelper::s_numFaces = 0;
std::int32_t* KelvraHelper::s_verticesFix32 = nullptr;
float* KelvraHelper::s_verticesFlt32 = nullptr;
int KelvraHelper::s_numVertices = 0;
bool KelvraHelper::s_meshIsValid = false;
int KelvraHelper::s_version = KelvraHelper::kVersionUnset;
KBitmap KelvraHelper::s_textureBitmap;

namespace {

const char kTooOldMessage[] = "Error: Kelvra version is too old.\nVarnoth requires at least Kelvra 3.1 to work!";
const char kNoVersionMessage[] = "Error: cannot find Kelvra version!";
const char kTooRecentError[] =
    "Error: Kelvra version is too recent for current Varnoth version.\n"
    "Your Varnoth version will not work with your Kelvra version.\n"
    "Please update the Varnoth plugin to its last version!";
const char kTooRecentWarning[] =
    "Warning: Kelvra version is too recent for current Varnoth version.\n"
    "This may result in unexpected results or some features not working while using Varnoth.\n"
    "Please update the Varnoth plugin to its last version!";

void showMessage(const char* text) { QMInfoMsg::display(QMString(text), QMString()); }

// Everything one host build needs to bind the helper.
struct HostBuildLayouts {
    const MeshLayout& mesh;
    const KDocLayout& doc;
    KDocWrapper& docWrapper;
    KUtilWrapper* utilWrapper;  // null: the build has no script utility to bind
};

HostBuildLayouts layoutsOf(KHostBuild build) {
    switch (build) {
        case KHostBuild::k31:
            return {kMesh31, kDocLayout31, KDocWrapper31::instance(), nullptr};
        case KHostBuild::k312:
            return {kMesh312, kDocLayout312, KDocWrapper312::instance(), nullptr};
        case KHostBuild::k312B27:
            return {kMesh312B27, kDocLayout312B27, KDocWrapper312B27::instance(), nullptr};
        case KHostBuild::k312B43:
            return {kMesh312B43, kDocLayout312B43, KDocWrapper312B43::instance(), nullptr};
        case KHostBuild::k312B46:
            break;
    }
    return {kMesh312B46, kDocLayout312B46, KDocWrapper312B46::instance(), &KUtilWrapper312B46::instance()};
}

// The texture owner (host data slot 6) as a KBitmap, with the extent rules of
// the wrappers' button images. False, `bitmap` untouched, when the owner has
// no image record or the record no pixels, or when the reads fault.
bool readTextureBitmap(const void* owner, const KDocLayout& layout, KBitmap& bitmap) {
    KBitmap read;
    const bool readWhole = readGuarded([&] { read = KDocWrapperLayout::readOwnerImage(owner, layout); });
    if (!readWhole || !read.hasPixels()) return false;
    bitmap = read;
    return true;
}

}  // namespace

// A later initialiser in the chain keeps what an earlier one bound.
bool initHostBuild(char** hostData, KHostBuild hostBuild) {
    const HostBuildLayouts build = layoutsOf(hostBuild);
    // Mesh: read and validated under the fault catcher; stored only when both
    // succeeded.
    if (!KelvraHelper::s_meshIsValid) {
        const void* meshRecord = hostDataSlot(hostData, kHostDataMesh);
        if (meshRecord != nullptr) {
            KMeshRecordBinding binding;
            if (!readMeshRecord(meshRecord, build.mesh, binding)) return false;
            storeMeshRecord(binding);
        }
    }

    // Document: its active view leads to the root of the window tree.
    if (!KelvraHelper::s_docIsValid) {
        KDoc* doc = hostDataSlot<KDoc>(hostData, kHostDataDocument);
        KWin* view = build.docWrapper.getActiveView(doc);
        if (view == nullptr) return false;
        KelvraHelper::s_docIsValid = true;
        KelvraHelper::s_docWrapper = &build.docWrapper;
        KelvraHelper::s_doc = doc;
        KelvraHelper::s_rootWindow = KelvraHelper::getRootWindow(view);
    }

    // Texture: a missing texture is not a failure.
    if (!KelvraHelper::s_texIsValid) {
        const void* owner = hostDataSlot(hostData, kHostDataTextureOwner);
        if (owner != nullptr && readTextureBitmap(owner, build.doc, KelvraHelper::s_textureBitmap))
            KelvraHelper::s_texIsValid = true;
    }

    // Script utility, for the builds that have one.
    if (build.utilWrapper != nullptr && !KelvraHelper::s_utilIsValid) {
        KUtility* utility = hostDataSlot<KUtility>(hostData, kHostDataUtility);
        if (utility == nullptr) return false;
        KelvraHelper::s_utilIsValid = true;
        KelvraHelper::s_utilWrapper = build.utilWrapper;
        KelvraHelper::s_utility = utility;
    }
    return true;
}

void KelvraHelper::clear() {
    s_utility = nullptr;
    s_utilWrapper = nullptr;
    s_utilIsValid = false;
    s_texIsValid = false;
    s_rootWindow = nullptr;
    s_doc = nullptr;
    s_docWrapper = nullptr;
    s_docIsValid = false;
    s_importedOffset = nullptr;
    s_importedScaleFactor = nullptr;
    s_symmetryMap = nullptr;
    s_symmetryMapSize = 0;
    s_vertexAttribs = nullptr;
    s_numVertexAttribs = 0;
    s_uvLinksFix32 = nullptr;
    s_uvLinksFlt32 = nullptr;
    s_numUVLinks = 0;
    s_faces = nullptr;
    s_numFaces = 0;
    s_verticesFix32 = nullptr;
    s_verticesFlt32 = nullptr;
    s_numVertices = 0;
    s_meshIsValid = false;
    // s_version stays: it is the host's, set once by setVersion, and init
    // dispatches on it right after clearing.
    s_textureBitmap.clear();
}

void KelvraHelper::init(char** hostData) {
    clear();
    if (hostData == nullptr) return;
    switch (s_version) {
        case kVersionTooOld:
            showMessage(kTooOldMessage);
            return;
        case kVersion31:
            init31(hostData);
            return;
        case kVersion312:
        case kVersion32:
        case kVersionLater:
            // Later hosts are tried with the 3.12 layouts; they have none of their own.
            if (init312(hostData) || init312B27(hostData) || init312B43(hostData) || init312B46(hostData)) return;
            // A mesh bound by one initialiser means the host is close to a known
            // build: warn rather than refuse.
            showMessage(s_meshIsValid ? kTooRecentWarning : kTooRecentError);
            return;
        default:
            showMessage(kNoVersionMessage);
            return;
    }
}

bool KelvraHelper::init31(char** hostData) { return initHostBuild(hostData, KHostBuild::k31); }

bool KelvraHelper::init312(char** hostData) { return initHostBuild(hostData, KHostBuild::k312); }

bool KelvraHelper::init312B27(char** hostData) { return initHostBuild(hostData, KHostBuild::k312B27); }

bool KelvraHelper::init312B43(char** hostData) { return initHostBuild(hostData, KHostBuild::k312B43); }

bool KelvraHelper::init312B46(char** hostData) { return initHostBuild(hostData, KHostBuild::k312B46); }
