#include "host/HostMemory.h"
#include "host/HostMeshRecords.h"
#include "host/KelvraHelper.h"

#include <cstddef>

namespace {

constexpr std::ptrdiff_t kVertexBytes = hostmesh::kVertexBytes;
// The unit of the 16.16 fixed-point vertices of the 3.1 layout.
constexpr float kFixed16Unit = 1.0f / 65536.0f;

// The raw position of vertex `index`, in host units; false (out untouched)
// when no vertex array is bound. Host records need not be aligned, so every
// value is copied out of them.
bool rawVertex(int index, float* out) {
    if (KelvraHelper::s_verticesFlt32 != nullptr) {
        const unsigned char* vertex =
            reinterpret_cast<const unsigned char*>(KelvraHelper::s_verticesFlt32) + kVertexBytes * index;
        for (int k = 0; k < 3; ++k) out[k] = readHostField<float>(vertex, 4 * std::size_t(k));
        return true;
    }
    if (KelvraHelper::s_verticesFix32 != nullptr) {
        const unsigned char* vertex =
            reinterpret_cast<const unsigned char*>(KelvraHelper::s_verticesFix32) + kVertexBytes * index;
        for (int k = 0; k < 3; ++k)
            out[k] = static_cast<float>(readHostField<std::int32_t>(vertex, 4 * std::size_t(k))) * kFixed16Unit;
        return true;
    }
    return false;
}

}  // namespace

void KelvraHelper::getVertex(int index, float* out) { rawVertex(index, out); }

void KelvraHelper::getTransformedVertex(int index, float* out) {
    float raw[3];
    if (!rawVertex(index, raw)) return;
    for (int k = 0; k < 3; ++k) {
        // The host leaves the factors zero for meshes that were never
        // imported. A record without an import transform (no pointers) is
        // taken as unscaled and unmoved.
        float scale = s_importedScaleFactor ? readHostField<float>(s_importedScaleFactor, 4 * std::size_t(k)) : 1.0f;
        if (scale == 0.0f) scale = 1.0f;
        const float offset = s_importedOffset ? readHostField<float>(s_importedOffset, 4 * std::size_t(k)) : 0.0f;
        out[k] = (raw[k] - offset) / scale;
    }
}
