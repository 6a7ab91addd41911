#include "vekio/QMVekIO.h"

#include "support/QMLogServer.h"
#include "vekio/VekBlockWalk.h"
#include "vekio/VekMeshLayout.h"

// Every reader clears its outputs, opens the file (false when it cannot) and
// checks the file header (false when it is wrong), then walks the blocks. A
// file without the wanted block is no failure: the array stays empty.

namespace {

// Element counts per block count: a face carries four indices and four UVs.
constexpr std::uint64_t kOnePerCount = 1;
constexpr std::uint64_t kFourPerCount = 4;

void logSkippedBlock(const Vek_Header& header) {
    QMLogServer::printLine(QMString("  Vek Reading: Skipping Bloc tag=%d"), static_cast<int>(header.tag));
}

// The lines the mesh readers print as they read a block.
void logPointsRead(std::uint32_t count) {
    QMLogServer::printLine(QMString("  Vek Reading [Points] (%d)"), static_cast<int>(count));
}
void logFace4Read(std::uint32_t count) {
    QMLogServer::printLine(QMString("  Vek Reading [Face4] (%d fac)"), static_cast<int>(count));
}
void logUV4Read(std::uint32_t count) {
    QMLogServer::printLine(QMString("  Vek Reading [UV4] (%d)"), static_cast<int>(count));
}

template <class Source>
bool readVertexBlocFrom(QMVekIO& io, const Source& source, QMArray<QMVector3f>& points) {
    points.clear();
    VekBlockWalk walk(io, source);
    if (!walk.start()) return false;
    Vek_Header header;
    while (walk.next(header)) {
        if (header.tag == QMVekIO::kTagPoints) {
            walk.readBody(header, points, kOnePerCount);
            return true;
        }
        walk.skipBody(header);
    }
    return true;
}

template <class Source>
bool readFace4BlocFrom(QMVekIO& io, const Source& source, QMArray<int>& faces, bool& hasUV) {
    faces.clear();
    hasUV = false;
    VekBlockWalk walk(io, source);
    if (!walk.start()) return false;
    Vek_Header header;
    while (walk.next(header)) {
        if (header.tag == QMVekIO::kTagFace4) {
            logFace4Read(header.count);
            walk.readBody(header, faces, kFourPerCount);
            continue;
        }
        if (header.tag == QMVekIO::kTagUV4) hasUV = true;
        walk.skipBody(header);
    }
    return true;
}

template <class Source>
bool readUV4BlocFrom(QMVekIO& io, const Source& source, QMArray<QMVector2f>& uvs) {
    uvs.clear();
    VekBlockWalk walk(io, source);
    if (!walk.start()) return false;
    Vek_Header header;
    while (walk.next(header)) {
        if (header.tag == QMVekIO::kTagUV4) {
            logUV4Read(header.count);
            walk.readBody(header, uvs, kFourPerCount);
            continue;
        }
        logSkippedBlock(header);
        walk.skipBody(header);
    }
    return true;
}

template <class Source>
bool readMRGBBlocFrom(QMVekIO& io, const Source& source, QMArray<std::uint32_t>& mrgb) {
    mrgb.clear();
    VekBlockWalk walk(io, source);
    if (!walk.start()) return false;
    Vek_Header header;
    while (walk.next(header)) {
        if (header.tag == QMVekIO::kTagMRGB) {
            QMLogServer::printLine(QMString("  Vek Reading [MRGB] (%d)"), static_cast<int>(header.count));
            walk.readBody(header, mrgb, kOnePerCount);
            return true;
        }
        walk.skipBody(header);
    }
    return true;
}

template <class Source>
bool readMaskBlocFrom(QMVekIO& io, const Source& source, QMArray<unsigned char>& mask) {
    mask.clear();
    VekBlockWalk walk(io, source);
    if (!walk.start()) return false;
    Vek_Header header;
    while (walk.next(header)) {
        if (header.tag == QMVekIO::kTagMask) {
            QMLogServer::printLine(QMString("  Vek Reading [Mask] (%d)"), static_cast<int>(header.count));
            walk.readBody(header, mask, kOnePerCount);
            return true;
        }
        walk.skipBody(header);
    }
    return true;
}

template <class Source>
bool readVertexAndFace4BlocsFrom(QMVekIO& io, const Source& source, QMArray<QMVector3f>& points, QMArray<int>& faces) {
    points.clear();
    faces.clear();
    VekBlockWalk walk(io, source);
    if (!walk.start()) return false;
    Vek_Header header;
    while (walk.next(header)) {
        if (header.tag == QMVekIO::kTagPoints) {
            logPointsRead(header.count);
            walk.readBody(header, points, kOnePerCount);
            if (!faces.empty()) return true;
        } else if (header.tag == QMVekIO::kTagFace4) {
            logFace4Read(header.count);
            walk.readBody(header, faces, kFourPerCount);
            if (!points.empty()) return true;
        } else {
            walk.skipBody(header);
        }
    }
    return true;
}

void logMRGBReadUncounted() { QMLogServer::printLine(QMString("  Vek Reading [MRGB]")); }

// The Points, Face4 and UV4 blocks as the two richest readers take them.
bool readMeshBlock(VekBlockWalk& walk, const Vek_Header& header, QMArray<QMVector3f>& points, QMArray<int>& faces,
                   QMArray<QMVector2f>& uvs) {
    switch (header.tag) {
        case QMVekIO::kTagPoints:
            logPointsRead(header.count);
            walk.readBody(header, points, kOnePerCount);
            return true;
        case QMVekIO::kTagFace4:
            logFace4Read(header.count);
            walk.readBody(header, faces, kFourPerCount);
            return true;
        case QMVekIO::kTagUV4:
            logUV4Read(header.count);
            walk.readBody(header, uvs, kFourPerCount);
            return true;
        default:
            return false;
    }
}

template <class Source>
bool readVtxFace4AndUV4BlocsFrom(QMVekIO& io, const Source& source, QMArray<QMVector3f>& points, QMArray<int>& faces,
                                 QMArray<QMVector2f>& uvs) {
    points.clear();
    faces.clear();
    uvs.clear();
    VekBlockWalk walk(io, source);
    if (!walk.start()) return false;
    Vek_Header header;
    while (walk.next(header)) {
        if (readMeshBlock(walk, header, points, faces, uvs)) continue;
        logSkippedBlock(header);
        walk.skipBody(header);
    }
    return true;
}

template <class Source>
bool readVtxFace4UV4AndMRGBBlocsFrom(QMVekIO& io, const Source& source, QMArray<QMVector3f>& points,
                                     QMArray<int>& faces, QMArray<QMVector2f>& uvs, QMArray<std::uint32_t>& mrgb) {
    points.clear();
    faces.clear();
    mrgb.clear();
    VekBlockWalk walk(io, source);
    if (!walk.start()) return false;
    Vek_Header header;
    while (walk.next(header)) {
        if (readMeshBlock(walk, header, points, faces, uvs)) continue;
        if (header.tag == QMVekIO::kTagMRGB) {
            logMRGBReadUncounted();
            walk.readBody(header, mrgb, kOnePerCount);
            continue;
        }
        walk.skipBody(header);
    }
    return true;
}

}  // namespace

// The readers on a file opened by name, and on bytes in memory.

bool QMVekIO::readVertexBloc(const QMString& name, QMArray<QMVector3f>& points) {
    return readVertexBlocFrom(*this, name, points);
}
bool QMVekIO::readVertexBloc(const VekBytes& bytes, QMArray<QMVector3f>& points) {
    return readVertexBlocFrom(*this, bytes, points);
}

bool QMVekIO::readFace4Bloc(const QMString& name, QMArray<int>& faces, bool& hasUV) {
    return readFace4BlocFrom(*this, name, faces, hasUV);
}
bool QMVekIO::readFace4Bloc(const VekBytes& bytes, QMArray<int>& faces, bool& hasUV) {
    return readFace4BlocFrom(*this, bytes, faces, hasUV);
}

bool QMVekIO::readUV4Bloc(const QMString& name, QMArray<QMVector2f>& uvs) { return readUV4BlocFrom(*this, name, uvs); }
bool QMVekIO::readUV4Bloc(const VekBytes& bytes, QMArray<QMVector2f>& uvs) {
    return readUV4BlocFrom(*this, bytes, uvs);
}

bool QMVekIO::readMRGBBloc(const QMString& name, QMArray<std::uint32_t>& mrgb) {
    return readMRGBBlocFrom(*this, name, mrgb);
}
bool QMVekIO::readMRGBBloc(const VekBytes& bytes, QMArray<std::uint32_t>& mrgb) {
    return readMRGBBlocFrom(*this, bytes, mrgb);
}

bool QMVekIO::readMaskBloc(const QMString& name, QMArray<unsigned char>& mask) {
    return readMaskBlocFrom(*this, name, mask);
}
bool QMVekIO::readMaskBloc(const VekBytes& bytes, QMArray<unsigned char>& mask) {
    return readMaskBlocFrom(*this, bytes, mask);
}

bool QMVekIO::readVertexAndFace4Blocs(const QMString& name, QMArray<QMVector3f>& points, QMArray<int>& faces) {
    return readVertexAndFace4BlocsFrom(*this, name, points, faces);
}
bool QMVekIO::readVertexAndFace4Blocs(const VekBytes& bytes, QMArray<QMVector3f>& points, QMArray<int>& faces) {
    return readVertexAndFace4BlocsFrom(*this, bytes, points, faces);
}

bool QMVekIO::readVtxFace4AndUV4Blocs(const QMString& name, QMArray<QMVector3f>& points, QMArray<int>& faces,
                                      QMArray<QMVector2f>& uvs) {
    return readVtxFace4AndUV4BlocsFrom(*this, name, points, faces, uvs);
}
bool QMVekIO::readVtxFace4AndUV4Blocs(const VekBytes& bytes, QMArray<QMVector3f>& points, QMArray<int>& faces,
                                      QMArray<QMVector2f>& uvs) {
    return readVtxFace4AndUV4BlocsFrom(*this, bytes, points, faces, uvs);
}

bool QMVekIO::readVtxFace4UV4AndMRGBBlocs(const QMString& name, QMArray<QMVector3f>& points, QMArray<int>& faces,
                                          QMArray<QMVector2f>& uvs, QMArray<std::uint32_t>& mrgb) {
    return readVtxFace4UV4AndMRGBBlocsFrom(*this, name, points, faces, uvs, mrgb);
}
bool QMVekIO::readVtxFace4UV4AndMRGBBlocs(const VekBytes& bytes, QMArray<QMVector3f>& points, QMArray<int>& faces,
                                          QMArray<QMVector2f>& uvs, QMArray<std::uint32_t>& mrgb) {
    return readVtxFace4UV4AndMRGBBlocsFrom(*this, bytes, points, faces, uvs, mrgb);
}

// What the two mesh readers print for a simple layout, whose blocks they
// would read whole: the same lines, in block order.

void QMVekIO::logVertexAndFace4Reads(const VekMeshLayout& layout) {
    bool havePoints = false, haveFaces = false;
    for (const VekBlockExtent& block : layout.meshBlocks) {
        if (block.tag == kTagPoints) {
            logPointsRead(block.count);
            havePoints = block.count != 0;
            if (haveFaces) return;
        } else if (block.tag == kTagFace4) {
            logFace4Read(block.count);
            haveFaces = block.count != 0;
            if (havePoints) return;
        }
    }
}

void QMVekIO::logVtxFace4UV4AndMRGBReads(const VekMeshLayout& layout) {
    for (const VekBlockExtent& block : layout.meshBlocks) {
        switch (block.tag) {
            case kTagPoints:
                logPointsRead(block.count);
                break;
            case kTagFace4:
                logFace4Read(block.count);
                break;
            case kTagUV4:
                logUV4Read(block.count);
                break;
            default:
                logMRGBReadUncounted();
        }
    }
}
