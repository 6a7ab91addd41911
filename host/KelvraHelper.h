#pragma once

#include "host/KBitmap.h"
#include "host/KHostTypes.h"
#include "support/OmbrelApi.h"
#include "support/QMString.h"

#include <cstdint>

class KDocWrapper;
class KUtilWrapper;

// The plug-in's single point of contact with the host application's own
// memory. It learns the host's version once, as a code, picks the record
// layouts of that host build, and from the host data argument of a script
// call takes hold of the host's document, root window, current mesh, texture
// and script utility. All state is static; every pointer points into host
// memory, which the helper neither owns nor frees.
class OMBREL_API KelvraHelper {
public:
    // Host version codes held in s_version.
    static constexpr int kVersionUnset = 0;    // setVersion never called
    static constexpr int kVersionTooOld = 1;   // before 3.1, unsupported
    static constexpr int kVersion31 = 310;     // 3.1 and 3.11
    static constexpr int kVersion312 = 312;    // 3.12 to 3.14, any build
    static constexpr int kVersion32 = 320;     // 3.15 to 3.24
    static constexpr int kVersionLater = 321;  // anything later

    // Turns the version number the host script passes (3.12, say) into a code.
    static void setVersion(double version);

    // Clears the state, then binds it from the host data argument (an array
    // of 32-bit host pointers) with the layouts of the current version.
    // Success shows in the four validity flags; failures are reported to the
    // user through QMInfoMsg.
    static void init(char** hostData);
    static void clear();

    // Window tree (valid while s_docIsValid).
    static KWin* getRootWindow(KWin* win);
    static KWin* getParentWindow(KWin* win);
    static KWin* getWindowFromPath(KWin* start, const QMString& path);
    static int getWindowChildIndex(KWin* win);
    static bool disconnectWindow(KWin* win);
    static bool moveWindow(KWin* win, KWin* newParent, int index);

    // A host button as a progress bar (valid while s_docIsValid), and scripts.
    static bool initProgressBar(KWin* button);
    static bool initProgressBar2(KWin* button, KWin* source);
    static bool setProgressBarText(KWin* button, const char* text);
    static bool setProgressBarPercentage(KWin* button, double percent);
    static bool setProgressBarNoPercentage(KWin* button, int phase);
    static bool runKScript(const QMString& script);

    // The current mesh (valid while s_meshIsValid); the index is unchecked.
    static void getVertex(int index, float* out);
    static void getTransformedVertex(int index, float* out);

    static KUtility* s_utility;
    static KUtilWrapper* s_utilWrapper;
    static bool s_utilIsValid;
    static bool s_texIsValid;
    static KWin* s_rootWindow;
    static KDoc* s_doc;
    static KDocWrapper* s_docWrapper;
    static bool s_docIsValid;
    static float* s_importedOffset;
    static float* s_importedScaleFactor;
    static std::int32_t* s_symmetryMap;
    static int s_symmetryMapSize;
    static unsigned char* s_vertexAttribs;  // 8-byte records
    static int s_numVertexAttribs;
    static std::int32_t* s_uvLinksFix32;  // 32-byte records, 24 fraction bits
    static float* s_uvLinksFlt32;         // 32-byte records
    static int s_numUVLinks;
    static std::int32_t* s_faces;  // 16-byte records
    static int s_numFaces;
    static std::int32_t* s_verticesFix32;  // 12-byte records, 16.16 fixed point
    static float* s_verticesFlt32;         // 12-byte records
    static int s_numVertices;
    static bool s_meshIsValid;
    static int s_version;
    static KBitmap s_textureBitmap;

private:
    // One initialiser per host build; each step is skipped when its validity
    // flag is already set, so later initialisers keep what earlier ones found.
    static bool init31(char** hostData);
    static bool init312(char** hostData);
    static bool init312B27(char** hostData);
    static bool init312B43(char** hostData);
    static bool init312B46(char** hostData);
};
