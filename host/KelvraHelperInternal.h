#pragma once

#include "host/HostLayouts.h"

#include <cstdint>

// Internal to the host bridge: how KelvraHelper binds its state for one host
// build.

// The supported host builds, in the order init tries the 3.12 family.
enum class KHostBuild { k31, k312, k312B27, k312B43, k312B46 };

// The steps of every version initialiser (mesh, document, texture, and for
// 3.12 B46 the script utility) with the layouts of `build`. A step whose
// validity flag is already set is skipped. False when a step fails.
bool initHostBuild(char** hostData, KHostBuild build);

// The host's current mesh record as the helper binds it. readMeshRecord reads
// and validates a record under the fault catcher; storeMeshRecord then copies
// the result into KelvraHelper's state.
struct KMeshRecordBinding {
    std::int32_t* verticesFix32 = nullptr;
    float* verticesFlt32 = nullptr;
    int numVertices = 0;
    std::int32_t* faces = nullptr;
    int numFaces = 0;
    std::int32_t* uvLinksFix32 = nullptr;
    float* uvLinksFlt32 = nullptr;
    int numUVLinks = 0;
    unsigned char* vertexAttribs = nullptr;
    int numVertexAttribs = 0;
    std::int32_t* symmetryMap = nullptr;
    int symmetryMapSize = 0;
    float* importedScaleFactor = nullptr;
    float* importedOffset = nullptr;
};

// Reads the mesh record at `record` with the offsets of `layout` and checks
// every array it reaches. False when a memory-access fault interrupted the
// reads or the record does not pass the checks; `binding` is written only on
// success.
bool readMeshRecord(const void* record, const MeshLayout& layout, KMeshRecordBinding& binding);

// Sets the helper's mesh members from `binding` and marks the mesh valid.
void storeMeshRecord(const KMeshRecordBinding& binding);
