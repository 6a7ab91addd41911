#pragma once

#include "geometry/BBox.h"
#include "geometry/QMVector.h"
#include "support/QMArray.h"
#include "support/QMString.h"

#include <cstdint>
#include <cstdio>

// Header of one block of a Vek file: 16 bytes, four little-endian words.
class VekDamageReport;
struct VekMeshLayout;

// The bytes of a whole Vek file held in memory, for the readers' byte forms.
struct VekBytes {
    const unsigned char* data;
    std::size_t size;
};

struct Vek_Header {
    std::uint32_t tag;       // block type; 0 ends the file
    std::uint32_t size;      // bytes of the whole block, these 16 included
    std::uint32_t count;     // elements in the block; the unit depends on the tag
    std::uint32_t reserved;  // written as 0, never read
};
static_assert(sizeof(Vek_Header) == 16);

// Reads Vek mesh files (a 32-byte file header, then blocks, then an end block)
// into the caller's arrays, and writes their headers.
//
// Untrusted input: a file may be damaged or hostile. The readers never read or
// write outside an array: an array is sized from the block's count, but never
// to more than the body bytes present in the file plus kBodyAllowance (a larger
// count is clamped to the elements actually there), a body larger than its
// array is read up to the array and the rest skipped, and a block whose size is
// below 16 ends the walk (it could not advance). A missing file, a wrong magic
// or a truncated header yields the documented result. The damage a reader
// read past is added to the damage report, when one is set; otherwise nothing
// is reported.
class QMVekIO {
public:
    static constexpr std::uint32_t kTagEnd = 0;
    static constexpr std::uint32_t kTagPoints = 10001;
    static constexpr std::uint32_t kTagFace4 = 20001;
    static constexpr std::uint32_t kTagUV4 = 25001;
    static constexpr std::uint32_t kTagMask = 30001;
    static constexpr std::uint32_t kTagMRGB = 35001;

    static constexpr std::size_t kFileHeaderSize = 32;
    static constexpr std::uint64_t kBodyAllowance = std::uint64_t(64) << 20;

    QMVekIO() {}

    // Where the readers note damaged blocks (null: nowhere). Not owned.
    void setDamageReport(VekDamageReport* report) { m_damage = report; }
    VekDamageReport* damageReport() const { return m_damage; }

    // Container level.
    bool readFileHeader(std::FILE* file);
    bool writeFileHeader(std::FILE* file);
    bool readBlockHeader(std::FILE* file, Vek_Header& header);
    bool writeBlockHeader(std::FILE* file, const Vek_Header& header);
    int skipBlock(std::FILE* file, const Vek_Header& header);

    // Block readers. Each opens the file, walks its blocks and closes it.
    bool readVertexBloc(const QMString& name, QMArray<QMVector3f>& points);
    bool readFace4Bloc(const QMString& name, QMArray<int>& faces, bool& hasUV);
    bool readUV4Bloc(const QMString& name, QMArray<QMVector2f>& uvs);
    bool readMRGBBloc(const QMString& name, QMArray<std::uint32_t>& mrgb);
    bool readMaskBloc(const QMString& name, QMArray<unsigned char>& mask);
    bool readVertexAndFace4Blocs(const QMString& name, QMArray<QMVector3f>& points, QMArray<int>& faces);
    bool readVtxFace4AndUV4Blocs(const QMString& name, QMArray<QMVector3f>& points, QMArray<int>& faces,
                                 QMArray<QMVector2f>& uvs);
    // Leaves `uvs` as it was when the file has no UV4 block (it is not cleared).
    bool readVtxFace4UV4AndMRGBBlocs(const QMString& name, QMArray<QMVector3f>& points, QMArray<int>& faces,
                                     QMArray<QMVector2f>& uvs, QMArray<std::uint32_t>& mrgb);

    // The log lines readVertexAndFace4Blocs and readVtxFace4UV4AndMRGBBlocs
    // print for a file of this layout, when it is simple (VekMeshLayout.h),
    // for a caller that reads its blocks in ranges instead.
    void logVertexAndFace4Reads(const VekMeshLayout& layout);
    void logVtxFace4UV4AndMRGBReads(const VekMeshLayout& layout);

    // The box of all points, streamed in fixed chunks. Finds the Points block
    // only when it is the first block of the file.
    bool readBBox(const QMString& name, BBox& box);

    // The same readers on a Vek file's bytes in memory: the same walk, the
    // same results, the same damage noted, to the byte; no file is opened.
    bool readVertexBloc(const VekBytes& bytes, QMArray<QMVector3f>& points);
    bool readFace4Bloc(const VekBytes& bytes, QMArray<int>& faces, bool& hasUV);
    bool readUV4Bloc(const VekBytes& bytes, QMArray<QMVector2f>& uvs);
    bool readMRGBBloc(const VekBytes& bytes, QMArray<std::uint32_t>& mrgb);
    bool readMaskBloc(const VekBytes& bytes, QMArray<unsigned char>& mask);
    bool readVertexAndFace4Blocs(const VekBytes& bytes, QMArray<QMVector3f>& points, QMArray<int>& faces);
    bool readVtxFace4AndUV4Blocs(const VekBytes& bytes, QMArray<QMVector3f>& points, QMArray<int>& faces,
                                 QMArray<QMVector2f>& uvs);
    bool readVtxFace4UV4AndMRGBBlocs(const VekBytes& bytes, QMArray<QMVector3f>& points, QMArray<int>& faces,
                                     QMArray<QMVector2f>& uvs, QMArray<std::uint32_t>& mrgb);
    bool readBBox(const VekBytes& bytes, BBox& box);

    // MRGB colour words (little-endian 0xMMRRGGBB: byte 0 blue, 1 green, 2
    // red, 3 the unused M byte) as colours x = red, y = green, z = blue in 0..1.
    // The index is the caller's to check.
    void convertOneMRGBToColor3f(QMVector3f& colour, const QMArray<std::uint32_t>& mrgb, int index);
    void convertMRGBBlocToColors3f(QMArray<QMVector3f>& colours, const QMArray<std::uint32_t>& mrgb);
    // Writes a Vek file holding only an MRGB block; on any failure no file is
    // left behind and the result is false.
    bool writeMRGBBloc(const QMString& name, QMArray<std::uint32_t>& mrgb);

private:
    VekDamageReport* m_damage = nullptr;
};
