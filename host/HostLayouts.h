#pragma once

#include <cstddef>

// Byte offsets of the host's records, one set per supported host build.

struct KWinLayout {
    std::size_t parent, firstChild, nextSibling, prevSibling, descriptor, text, imageOwner;
    std::size_t pulldownCount, pulldownEntries;
};
inline constexpr KWinLayout kWinLayout31{80, 84, 88, 92, 120, 128, 132, 192, 196};   // 3.1, 3.12, 3.12 B27
inline constexpr KWinLayout kWinLayoutB43{84, 88, 92, 96, 124, 132, 136, 196, 200};  // 3.12 B43, B46

// Descriptor record of a window.
inline constexpr std::size_t kDescriptorKind = 16;  // signed 16-bit
inline constexpr std::size_t kDescriptorName = 56;
inline constexpr std::size_t kDescriptorText2 = 60;
inline constexpr short kPulldownKind = 1007;

// Text record: 32-bit length, then the characters (NUL-terminated, <= 255).
inline constexpr std::size_t kTextLength = 16;
inline constexpr std::size_t kTextChars = 20;
inline constexpr std::size_t kTextMaxLength = 255;

// Document record: the active-view window pointer.
inline constexpr std::size_t kDocActiveView31 = 524;
inline constexpr std::size_t kDocActiveView312 = 528;  // 3.12 and 3.12 B27
inline constexpr std::size_t kDocActiveViewB43 = 532;  // 3.12 B43 and B46

// Image owner record (a button's, or the texture owner of host data slot 6).
struct ImageOwnerLayout {
    std::size_t firstExtent, secondExtent, imageRecord;
    bool fixedPointExtents;  // 16.16 fixed point instead of float
};
inline constexpr ImageOwnerLayout kImageOwner31{48, 44, 100, true};    // 3.1 and 3.12 B27
inline constexpr ImageOwnerLayout kImageOwner312{48, 44, 100, false};  // 3.12
inline constexpr ImageOwnerLayout kImageOwnerB43{52, 48, 104, false};  // 3.12 B43 and B46

// Image record: pixels, buffer size, signed 16-bit row bytes.
struct ImageRecordLayout {
    std::size_t pixels, bufferSize, rowBytes;
};
inline constexpr ImageRecordLayout kImageRecord31{40, 36, 54};   // 3.1 to 3.12 B27
inline constexpr ImageRecordLayout kImageRecordB43{44, 40, 58};  // B43, B46

// Current mesh record: for each array, the offset of its array object and of
// the cached data pointer; 0 for an array the layout does not have.
struct MeshArrayOffsets {
    std::size_t object, cached;
};
struct MeshLayout {
    MeshArrayOffsets vertices, faces, uvLinks, vertexAttribs, symmetryMap;
    std::size_t importScale, importOffset;
    // Array object: data holder pointer (whose word at the same offset is the
    // data pointer), element count, element size.
    std::size_t arrayHolder, arrayCount, arrayElementSize;
    bool fixedPoint;  // 16.16 vertices and 24-bit-fraction UV links (3.1)
};
inline constexpr MeshLayout kMesh31{{100, 120}, {520, 556}, {524, 560}, {112, 128}, {0, 0}, 580, 592, 40, 44, 92, true};
inline constexpr MeshLayout kMesh312{{100, 120}, {520, 556}, {524, 560}, {112, 128}, {0, 0}, 580, 592, 40, 44, 92, false};
inline constexpr MeshLayout kMesh312B27{{100, 120}, {548, 584}, {552, 588}, {112, 128}, {0, 0}, 608, 620, 40, 44, 92, false};
inline constexpr MeshLayout kMesh312B43{{104, 124}, {552, 588}, {556, 592}, {116, 132}, {0, 0}, 612, 624, 44, 48, 96, false};
inline constexpr MeshLayout kMesh312B46{{104, 124}, {552, 588}, {556, 592}, {116, 132}, {488, 492}, 612, 624, 44, 48, 96, false};

// Slots of the host data argument.
inline constexpr int kHostDataDocument = 2;
inline constexpr int kHostDataMesh = 4;
inline constexpr int kHostDataTextureOwner = 6;
inline constexpr int kHostDataUtility = 7;
