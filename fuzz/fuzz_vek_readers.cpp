// fuzz_vek_readers: the input is one Vek file's bytes, read in memory by
// every reader of QMVekIO (their byte forms: the same block walk the file
// readers use, with no scratch file). For any input:
//  - a reader fails exactly when the file lacks the 32-byte header with the
//    magic "Vekb";
//  - no array holds more bytes than the bodies in the file could, plus the
//    readers' documented allowance (QMVekIO::kBodyAllowance), and an array's
//    bytes beyond what the file could supply are zero;
//  - the readers that walk the whole file agree on the blocks they share, and
//    hasUV says whether the walk met a UV4 block; readVtxFace4UV4AndMRGBBlocs
//    leaves the caller's UVs alone when it meets none;
//  - readBBox gives what its algorithm gives on the bytes (block headers back
//    to back up to a Points header, then `count` points as a signed number),
//    and agrees with the box of readVertexBloc's points when the file starts
//    with a complete Points block;
//  - what a reader returns, rewritten as a canonical file by vekgen's writer
//    and read again by the same reader, comes back the same.
// A block count may ask for up to 64 MiB more than the file holds, which the
// readers allocate and fill with zeros. Such a large input is read only by
// the two readers that together size every kind of array
// (readVtxFace4UV4AndMRGBBlocs and readMaskBloc), with the checks of results,
// sizes and zeros: nine readers and their rewrites would take seconds per
// input. It is kept out of the corpus, as any mutation of a count makes one.
#include "fuzz/CanonicalVek.h"
#include "fuzz/FuzzSupport.h"
#include "fuzz/InspectedVek.h"
#include "support/QMLogServer.h"
#include "vekio/QMVekIO.h"

#include "TestFiles.h"

#include <cstring>
#include <string_view>

namespace {

// How many bytes beyond the file's size a count may ask for before the input
// counts as large (counts beyond the allowance are clamped to the file).
constexpr std::uint64_t kLargeRequest = 64 * 1024;

// What the targets know about the input, shared by all checks.
struct Input {
    std::span<const unsigned char> bytes;
    VekBytes source;
    bool validHeader = false;
    std::uint64_t bodyBytes = 0;   // the most body bytes a block of the file can have
    std::uint64_t arrayLimit = 0;  // bytes any one array may hold
    bool large = false;            // a count asks for much more than the file holds
    const InspectedVek& inspected;
};

// The size bound, and zeros wherever the file could not have supplied bytes.
template <class T>
void checkArray(const Input& in, const QMArray<T>& array, const char* what) {
    FUZZ_CHECK(array.size() * sizeof(T) <= in.arrayLimit, std::string(what) + " holds " + std::to_string(array.size()) +
                                                              " elements of a " + std::to_string(in.bytes.size()) +
                                                              "-byte file");
    FUZZ_CHECK(zeroFrom(bytesOf(array), in.bodyBytes), std::string(what) + " are not zero beyond the file's bytes");
}

void checkResult(const Input& in, bool result, const char* reader) {
    FUZZ_CHECK(result == in.validHeader, std::string(reader) + " returned " + (result ? "true" : "false"));
}

template <class T>
void checkBody(const QMArray<T>& array, std::span<const unsigned char> body, const char* what) {
    FUZZ_CHECK(sameBytes(bytesOf(array), body), std::string(what) + " is not the block body of the well-formed file");
}

// The box readBBox must leave, by its algorithm, and its result.
struct ExpectedBox {
    bool result = false;
    BBox box;
};

ExpectedBox expectedReadBBox(const Input& in) {
    ExpectedBox expected;
    expected.box.clear();
    if (!in.validHeader) return expected;
    const std::span<const unsigned char> bytes = in.bytes;
    std::size_t pos = QMVekIO::kFileHeaderSize;
    std::uint32_t tag = 0;
    std::uint32_t count = 0;
    do {
        if (bytes.size() - pos < sizeof(Vek_Header)) return expected;
        tag = vekgen::loadU32(&bytes[pos]);
        count = vekgen::loadU32(&bytes[pos + 8]);
        pos += sizeof(Vek_Header);
        if (tag == QMVekIO::kTagEnd) return expected;
    } while (tag != QMVekIO::kTagPoints);

    // Whole chunks of 65536 points, then the rest; a short chunk fails after
    // the chunks before it went into the box.
    auto addPoints = [&](std::int64_t n) {
        if (bytes.size() - pos < std::uint64_t(n) * sizeof(QMVector3f)) return false;
        for (const QMVector3f& point : arrayFromBytes<QMVector3f>(bytes.subspan(pos, n * sizeof(QMVector3f))))
            expected.box.add(point);
        pos += n * sizeof(QMVector3f);
        return true;
    };
    std::int64_t remaining = static_cast<std::int32_t>(count);
    for (; remaining > 65535; remaining -= 65536)
        if (!addPoints(65536)) return expected;
    expected.result = remaining <= 0 || addPoints(remaining);
    return expected;
}

BBox boxOf(const QMArray<QMVector3f>& points) {
    BBox box;
    box.clear();
    for (const QMVector3f& point : points) box.add(point);
    return box;
}

bool sameBox(const BBox& a, const BBox& b) { return std::memcmp(&a, &b, sizeof(BBox)) == 0; }

// The file starts with a Points block whose body is whole and exactly its
// count of points.
bool startsWithCompletePoints(const Input& in) {
    const std::size_t start = QMVekIO::kFileHeaderSize;
    if (!in.validHeader || in.bytes.size() < start + sizeof(Vek_Header)) return false;
    const std::uint32_t tag = vekgen::loadU32(&in.bytes[start]);
    const std::uint64_t size = vekgen::loadU32(&in.bytes[start + 4]);
    const std::uint64_t count = vekgen::loadU32(&in.bytes[start + 8]);
    return tag == QMVekIO::kTagPoints && count <= 0x7FFFFFFFu && size == 16 + 12 * count &&
           in.bytes.size() - start >= size;
}

void checkBBox(const Input& in, const QMArray<QMVector3f>& firstPoints) {
    QMVekIO io;
    BBox box;
    const bool result = io.readBBox(in.source, box);
    const ExpectedBox expected = expectedReadBBox(in);
    FUZZ_CHECK(result == expected.result, std::string("readBBox returned ") + (result ? "true" : "false"));
    FUZZ_CHECK(sameBox(box, expected.box), "readBBox left another box than its algorithm gives");
    if (startsWithCompletePoints(in)) {
        FUZZ_CHECK(result, "readBBox failed on a complete first Points block");
        FUZZ_CHECK(sameBox(box, boxOf(firstPoints)), "readBBox disagrees with the box of readVertexBloc's points");
    }
}

// The arrays rewritten as a canonical file; empty when the arrays have no
// canonical form or hold more bytes than the file.
std::vector<unsigned char> rewrite(const Input& in, const VekArrays& arrays) {
    if (!representable(arrays) || arrayBytes(arrays) > in.bytes.size()) return {};
    return canonicalVekBytes(arrays);
}

VekBytes inMemory(const std::vector<unsigned char>& file) { return VekBytes{file.data(), file.size()}; }

// Counts the UV4 blocks that readUV4Bloc logs while it walks.
int s_uv4Lines = 0;

struct Digests {
    ArrayDigest points7, faces2, faces7, uvs3, uvs7;
    bool hasUV = false;
};

void checkVertexBloc(const Input& in) {
    QMVekIO io;
    QMArray<QMVector3f> points;
    checkResult(in, io.readVertexBloc(in.source, points), "readVertexBloc");
    checkArray(in, points, "readVertexBloc's points");
    if (in.inspected.wellFormed())
        checkBody(points, in.inspected.firstBody(QMVekIO::kTagPoints), "readVertexBloc's points");
    checkBBox(in, points);

    const std::vector<unsigned char> canonical = rewrite(in, {.points = &points});
    if (canonical.empty()) return;
    QMArray<QMVector3f> again;
    io.readVertexBloc(inMemory(canonical), again);
    FUZZ_CHECK(sameArray(points, again), "readVertexBloc's points do not survive a canonical rewrite");
    BBox box;
    FUZZ_CHECK(io.readBBox(inMemory(canonical), box), "readBBox failed on a canonical file");
    FUZZ_CHECK(sameBox(box, boxOf(points)), "readBBox of a canonical file is not the box of its points");
}

void checkFace4Bloc(const Input& in, Digests& digests) {
    QMVekIO io;
    QMArray<int> faces;
    bool hasUV = true;
    checkResult(in, io.readFace4Bloc(in.source, faces, hasUV), "readFace4Bloc");
    checkArray(in, faces, "readFace4Bloc's faces");
    if (in.inspected.wellFormed()) {
        checkBody(faces, in.inspected.lastBody(QMVekIO::kTagFace4), "readFace4Bloc's faces");
        FUZZ_CHECK(hasUV == (in.inspected.count(QMVekIO::kTagUV4) > 0), "hasUV is wrong for a well-formed file");
    }
    digests.faces2 = digestOf(faces);
    digests.hasUV = hasUV;

    // An empty UV4 block keeps hasUV in the rewrite.
    const QMArray<QMVector2f> noUVs;
    const std::vector<unsigned char> canonical = rewrite(in, {.faces = &faces, .uvs = hasUV ? &noUVs : nullptr});
    if (canonical.empty()) return;
    QMArray<int> again;
    bool hasUVAgain = !hasUV;
    io.readFace4Bloc(inMemory(canonical), again, hasUVAgain);
    FUZZ_CHECK(sameArray(faces, again) && hasUV == hasUVAgain,
               "readFace4Bloc's faces do not survive a canonical rewrite");
}

void checkUV4Bloc(const Input& in, Digests& digests) {
    QMVekIO io;
    QMArray<QMVector2f> uvs;
    s_uv4Lines = 0;
    QMLogServer::setObserver(
        [](const char* line) { s_uv4Lines += std::string_view(line).find("[UV4]") != std::string_view::npos; });
    const bool result = io.readUV4Bloc(in.source, uvs);
    QMLogServer::setObserver({});
    checkResult(in, result, "readUV4Bloc");
    checkArray(in, uvs, "readUV4Bloc's UVs");
    if (in.inspected.wellFormed()) checkBody(uvs, in.inspected.lastBody(QMVekIO::kTagUV4), "readUV4Bloc's UVs");
    digests.uvs3 = digestOf(uvs);

    const std::vector<unsigned char> canonical = rewrite(in, {.uvs = &uvs});
    if (canonical.empty()) return;
    QMArray<QMVector2f> again;
    io.readUV4Bloc(inMemory(canonical), again);
    FUZZ_CHECK(sameArray(uvs, again), "readUV4Bloc's UVs do not survive a canonical rewrite");
}

void checkMRGBBloc(const Input& in) {
    QMVekIO io;
    QMArray<std::uint32_t> mrgb;
    checkResult(in, io.readMRGBBloc(in.source, mrgb), "readMRGBBloc");
    checkArray(in, mrgb, "readMRGBBloc's words");
    if (in.inspected.wellFormed()) checkBody(mrgb, in.inspected.firstBody(QMVekIO::kTagMRGB), "readMRGBBloc's words");

    const std::vector<unsigned char> canonical = rewrite(in, {.mrgb = &mrgb});
    if (canonical.empty()) return;
    QMArray<std::uint32_t> again;
    io.readMRGBBloc(inMemory(canonical), again);
    FUZZ_CHECK(sameArray(mrgb, again), "readMRGBBloc's words do not survive a canonical rewrite");
}

void checkMaskBloc(const Input& in) {
    QMVekIO io;
    QMArray<unsigned char> mask;
    checkResult(in, io.readMaskBloc(in.source, mask), "readMaskBloc");
    checkArray(in, mask, "readMaskBloc's bytes");
    if (in.inspected.wellFormed()) checkBody(mask, in.inspected.firstBody(QMVekIO::kTagMask), "readMaskBloc's bytes");

    const std::vector<unsigned char> canonical = rewrite(in, {.mask = &mask});
    if (canonical.empty()) return;
    QMArray<unsigned char> again;
    io.readMaskBloc(inMemory(canonical), again);
    FUZZ_CHECK(sameArray(mask, again), "readMaskBloc's bytes do not survive a canonical rewrite");
}

// readVertexAndFace4Blocs on a well-formed file: the walk stops right after
// one of its blocks when the other array is already non-empty.
void checkVertexAndFace4Model(const Input& in, const QMArray<QMVector3f>& points, const QMArray<int>& faces) {
    std::span<const unsigned char> pointBody, faceBody;
    const std::span<const unsigned char> bytes = in.bytes;
    for (const vekgen::VekBlockInfo& block : in.inspected.inspection().blocks) {
        const auto body = bytes.subspan(block.offset + 16, block.size - 16);
        if (block.tag == QMVekIO::kTagPoints) {
            pointBody = body;
            if (faceBody.size() >= sizeof(int)) break;
        } else if (block.tag == QMVekIO::kTagFace4) {
            faceBody = body;
            if (pointBody.size() >= sizeof(QMVector3f)) break;
        } else if (block.tag == QMVekIO::kTagEnd) {
            break;
        }
    }
    checkBody(points, pointBody, "readVertexAndFace4Blocs's points");
    checkBody(faces, faceBody, "readVertexAndFace4Blocs's faces");
}

void checkVertexAndFace4Blocs(const Input& in) {
    QMVekIO io;
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    checkResult(in, io.readVertexAndFace4Blocs(in.source, points, faces), "readVertexAndFace4Blocs");
    checkArray(in, points, "readVertexAndFace4Blocs's points");
    checkArray(in, faces, "readVertexAndFace4Blocs's faces");
    if (in.inspected.wellFormed()) checkVertexAndFace4Model(in, points, faces);

    const std::vector<unsigned char> canonical = rewrite(in, {.points = &points, .faces = &faces});
    if (canonical.empty()) return;
    QMArray<QMVector3f> pointsAgain;
    QMArray<int> facesAgain;
    io.readVertexAndFace4Blocs(inMemory(canonical), pointsAgain, facesAgain);
    FUZZ_CHECK(sameArray(points, pointsAgain) && sameArray(faces, facesAgain),
               "readVertexAndFace4Blocs's arrays do not survive a canonical rewrite");
}

void checkVtxFace4AndUV4Blocs(const Input& in, Digests& digests) {
    QMVekIO io;
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    checkResult(in, io.readVtxFace4AndUV4Blocs(in.source, points, faces, uvs), "readVtxFace4AndUV4Blocs");
    checkArray(in, points, "readVtxFace4AndUV4Blocs's points");
    checkArray(in, faces, "readVtxFace4AndUV4Blocs's faces");
    checkArray(in, uvs, "readVtxFace4AndUV4Blocs's UVs");
    if (in.inspected.wellFormed()) {
        checkBody(points, in.inspected.lastBody(QMVekIO::kTagPoints), "readVtxFace4AndUV4Blocs's points");
        checkBody(faces, in.inspected.lastBody(QMVekIO::kTagFace4), "readVtxFace4AndUV4Blocs's faces");
        checkBody(uvs, in.inspected.lastBody(QMVekIO::kTagUV4), "readVtxFace4AndUV4Blocs's UVs");
    }
    digests.points7 = digestOf(points);
    digests.faces7 = digestOf(faces);
    digests.uvs7 = digestOf(uvs);
    FUZZ_CHECK(digests.faces7 == digests.faces2, "readVtxFace4AndUV4Blocs and readFace4Bloc read other faces");
    FUZZ_CHECK(digests.uvs7 == digests.uvs3, "readVtxFace4AndUV4Blocs and readUV4Bloc read other UVs");

    const std::vector<unsigned char> canonical = rewrite(in, {.points = &points, .faces = &faces, .uvs = &uvs});
    if (canonical.empty()) return;
    QMArray<QMVector3f> pointsAgain;
    QMArray<int> facesAgain;
    QMArray<QMVector2f> uvsAgain;
    io.readVtxFace4AndUV4Blocs(inMemory(canonical), pointsAgain, facesAgain, uvsAgain);
    FUZZ_CHECK(sameArray(points, pointsAgain) && sameArray(faces, facesAgain) && sameArray(uvs, uvsAgain),
               "readVtxFace4AndUV4Blocs's arrays do not survive a canonical rewrite");
}

void checkVtxFace4UV4AndMRGBBlocs(const Input& in, const Digests& digests) {
    QMVekIO io;
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    QMArray<std::uint32_t> mrgb;
    checkResult(in, io.readVtxFace4UV4AndMRGBBlocs(in.source, points, faces, uvs, mrgb), "readVtxFace4UV4AndMRGBBlocs");
    checkArray(in, points, "readVtxFace4UV4AndMRGBBlocs's points");
    checkArray(in, faces, "readVtxFace4UV4AndMRGBBlocs's faces");
    checkArray(in, uvs, "readVtxFace4UV4AndMRGBBlocs's UVs");
    checkArray(in, mrgb, "readVtxFace4UV4AndMRGBBlocs's words");
    if (in.inspected.wellFormed())
        checkBody(mrgb, in.inspected.lastBody(QMVekIO::kTagMRGB), "readVtxFace4UV4AndMRGBBlocs's words");
    FUZZ_CHECK(digestOf(points) == digests.points7, "readVtxFace4UV4AndMRGBBlocs and readVtxFace4AndUV4Blocs differ");
    FUZZ_CHECK(digestOf(faces) == digests.faces7, "readVtxFace4UV4AndMRGBBlocs and readVtxFace4AndUV4Blocs differ");
    FUZZ_CHECK(digestOf(uvs) == digests.uvs7, "readVtxFace4UV4AndMRGBBlocs and readVtxFace4AndUV4Blocs differ");
    FUZZ_CHECK(digests.hasUV == (s_uv4Lines > 0), "hasUV disagrees with the UV4 blocks readUV4Bloc met");

    // UVs the caller holds survive a walk without UV4 blocks.
    QMArray<QMVector3f> pointsAgain;
    QMArray<int> facesAgain;
    QMArray<QMVector2f> callerUVs = {QMVector2f(0.25f, -1.0f), QMVector2f(7.0f, 8.0f)};
    const QMArray<QMVector2f> before = callerUVs;
    QMArray<std::uint32_t> mrgbAgain;
    io.readVtxFace4UV4AndMRGBBlocs(in.source, pointsAgain, facesAgain, callerUVs, mrgbAgain);
    if (digests.hasUV)
        FUZZ_CHECK(callerUVs.size() == uvs.size(), "the caller's UVs changed the size of the UVs read");
    else
        FUZZ_CHECK(sameArray(callerUVs, before), "a file without UV4 blocks changed the caller's UVs");
    FUZZ_CHECK(sameArray(points, pointsAgain) && sameArray(faces, facesAgain) && sameArray(mrgb, mrgbAgain),
               "the caller's UVs changed the other arrays read");

    const std::vector<unsigned char> canonical = rewrite(in, {.points = &points, .faces = &faces, .uvs = &uvs, .mrgb = &mrgb});
    if (canonical.empty()) return;
    QMArray<QMVector2f> uvsAgain;
    io.readVtxFace4UV4AndMRGBBlocs(inMemory(canonical), pointsAgain, facesAgain, uvsAgain, mrgbAgain);
    FUZZ_CHECK(sameArray(points, pointsAgain) && sameArray(faces, facesAgain) && sameArray(uvs, uvsAgain) &&
                   sameArray(mrgb, mrgbAgain),
               "readVtxFace4UV4AndMRGBBlocs's arrays do not survive a canonical rewrite");
}

void checkLargeInput(const Input& in) {
    QMVekIO io;
    {
        QMArray<QMVector3f> points;
        QMArray<int> faces;
        QMArray<QMVector2f> uvs;
        QMArray<std::uint32_t> mrgb;
        checkResult(in, io.readVtxFace4UV4AndMRGBBlocs(in.source, points, faces, uvs, mrgb),
                    "readVtxFace4UV4AndMRGBBlocs");
        checkArray(in, points, "readVtxFace4UV4AndMRGBBlocs's points");
        checkArray(in, faces, "readVtxFace4UV4AndMRGBBlocs's faces");
        checkArray(in, uvs, "readVtxFace4UV4AndMRGBBlocs's UVs");
        checkArray(in, mrgb, "readVtxFace4UV4AndMRGBBlocs's words");
    }
    QMArray<unsigned char> mask;
    checkResult(in, io.readMaskBloc(in.source, mask), "readMaskBloc");
    checkArray(in, mask, "readMaskBloc's bytes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const unsigned char> bytes(data, size);

    const InspectedVek inspected(bytes);
    const std::size_t headers = QMVekIO::kFileHeaderSize + sizeof(Vek_Header);
    const Input in{
        .bytes = bytes,
        .source = VekBytes{data, size},
        .validHeader = size >= QMVekIO::kFileHeaderSize && std::memcmp(data, "Vekb", 4) == 0,
        .bodyBytes = size > headers ? size - headers : 0,
        .arrayLimit = (size > headers ? size - headers : 0) + QMVekIO::kBodyAllowance,
        .large = inspected.largestRequest(size + QMVekIO::kBodyAllowance) > size + kLargeRequest,
        .inspected = inspected,
    };

    if (in.large) {
        checkLargeInput(in);
        return -1;
    }
    Digests digests;
    checkVertexBloc(in);
    checkFace4Bloc(in, digests);
    checkUV4Bloc(in, digests);
    checkMRGBBloc(in);
    checkMaskBloc(in);
    checkVertexAndFace4Blocs(in);
    checkVtxFace4AndUV4Blocs(in, digests);
    checkVtxFace4UV4AndMRGBBlocs(in, digests);
    return 0;
}
