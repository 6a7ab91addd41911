#include "Sanitizers.h"
#include "ScriptTestFixture.h"

#include <sys/resource.h>

using Strings = std::vector<std::string>;

namespace {

using Points = std::vector<vekgen::Point3>;
using Faces = std::vector<vekgen::Face4>;

const Points kUnitSquare = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
const Faces kQuad = {{0, 1, 2, 3}};

class STLScriptTest : public ScriptTest {
protected:
    std::string mesh(const std::string& name, const Points& points, const Faces& faces) {
        return vek(name, [&](vekgen::VekWriter& w) {
            w.points(points);
            if (!faces.empty()) w.face4(faces);
            w.endBlock();
        });
    }
    // Runs the export as the host script does and returns the output path.
    std::string exportSTL(const char* mode, double height, const std::string& name = "out.stl") {
        host.call("DeclareBinaryOrASCII", mode);
        host.call("DeclareHeight", nullptr, height);
        const std::string out = dir.file(name);
        EXPECT_EQ(host.call("ExportSTLAllDeclaredVek", out), 0.0);
        return out;
    }
};

Bytes unitQuadRecords(float yOffset) {
    Bytes bytes = stlHeader(2);
    append(bytes, stlRecord({0, 0, 1, 0, yOffset, 0, 1, yOffset, 0, 1, 1 + yOffset, 0}));
    append(bytes, stlRecord({0, -0.0f, 1, 0, yOffset, 0, 1, 1 + yOffset, 0, 0, 1 + yOffset, 0}));
    return bytes;
}

}  // namespace

TEST_F(STLScriptTest, EmptyRegistryGivesEmptyBinaryFile) {
    declare({});
    EXPECT_EQ(readFileBytes(exportSTL("BINARY", 10.0)), stlHeader(0));
}

TEST_F(STLScriptTest, EmptyRegistryGivesEmptyAsciiSolid) {
    declare({});
    EXPECT_EQ(readFileText(exportSTL("ASCII", 10.0)), "solid object0 \nendsolid object0 \n");
}

TEST_F(STLScriptTest, UnitQuadAtHeightOneIsWrittenAsIs) {
    declare({mesh("a.vek", kUnitSquare, kQuad)});
    EXPECT_EQ(readFileBytes(exportSTL("BINARY", 1.0)), unitQuadRecords(0));
}

TEST_F(STLScriptTest, PlacementScalesTheYExtentToTheHeight) {
    declare({mesh("a.vek", {{0, 0, 0}, {10, 20, 5}, {10, 0, 0}}, {{0, 1, 2, -1}})});
    EXPECT_EQ(readFileText(exportSTL("ascii", 100.0)),
              "solid object0 \nfacet normal 0 0.242536 -0.970143 \nouter loop\nvertex 0 0 0 \n"
              "vertex 50 100 25 \nvertex 50 0 0 \nendloop\nendfacet\nendsolid object0 \n");
}

TEST_F(STLScriptTest, PlacementMovesTheMinimumCornerToTheOrigin) {
    declare({mesh("a.vek", {{-1, 2, -3}, {1, 4, 3}, {1, 2, -3}}, {{0, 1, 2, -1}})});
    EXPECT_EQ(readFileText(exportSTL("ascii", 1.0)),
              "solid object0 \nfacet normal 0 0.948683 -0.316228 \nouter loop\nvertex 0 0 0 \n"
              "vertex 1 1 3 \nvertex 1 0 0 \nendloop\nendfacet\nendsolid object0 \n");
}

TEST_F(STLScriptTest, FileWithoutFacesStillCountsInTheBounds) {
    declare({mesh("a.vek", kUnitSquare, kQuad), mesh("b.vek", {{0, -1, 0}}, {})});
    EXPECT_EQ(readFileBytes(exportSTL("BINARY", 2.0)), unitQuadRecords(1));
}

TEST_F(STLScriptTest, DefaultHeightZeroCollapsesTheSceneToAPoint) {
    declare({mesh("a.vek", kUnitSquare, kQuad)});
    const std::string out = dir.file("out.stl");
    host.call("ExportSTLAllDeclaredVek", out);
    Bytes expected = stlHeader(2);
    append(expected, stlRecord({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    append(expected, stlRecord({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(readFileBytes(out), expected);
}

TEST_F(STLScriptTest, SceneFlatInYIsWrittenUnscaled) {
    declare({mesh("a.vek", {{0, 0, 0}, {1, 0, 0}, {1, 0, 1}}, {{0, 1, 2, -1}})});
    Bytes expected = stlHeader(1);
    append(expected, stlRecord({0, -1, 0, 0, 0, 0, 1, 0, 0, 1, 0, 1}));
    EXPECT_EQ(readFileBytes(exportSTL("BINARY", 100.0)), expected);
}

TEST_F(STLScriptTest, InvisibleFileIsWrittenToo) {
    declare({mesh("a.vek", kUnitSquare, kQuad)});
    host.call("DeclareLastVekInvisible");
    EXPECT_EQ(readFileBytes(exportSTL("BINARY", 1.0)), unitQuadRecords(0));
}

TEST_F(STLScriptTest, FlipAndSwitchChangesNothing) {
    declare({mesh("a.vek", {{-1, 2, -3}, {1, 4, 3}, {1, 2, -3}}, {{0, 1, 2, -1}})});
    const Bytes plain = readFileBytes(exportSTL("BINARY", 7.0, "plain.stl"));
    for (double code : {1.0, 5.0, 15.0, -3.5}) {
        host.call("DeclareFlipAndSwitch", nullptr, code);
        EXPECT_EQ(readFileBytes(exportSTL("BINARY", 7.0, "flipped.stl")), plain) << code;
    }
}

TEST_F(STLScriptTest, TwoExportsInARowWriteTheSameBytes) {
    declare({mesh("a.vek", kUnitSquare, kQuad), mesh("b.vek", kUnitSquare, {{0, 1, 2, -1}})});
    const Bytes first = readFileBytes(exportSTL("BINARY", 3.0, "one.stl"));
    EXPECT_EQ(readFileBytes(exportSTL("BINARY", 3.0, "two.stl")), first);
    EXPECT_EQ(first.size(), 84u + 3 * 50);
}

TEST_F(STLScriptTest, ExportAfterDeleteWalksTheSameMissingFiles) {
    declare({mesh("a.vek", kUnitSquare, kQuad)});
    host.call("DeleteDeclaredVekFiles");
    EXPECT_EQ(readFileBytes(exportSTL("BINARY", 1.0)), stlHeader(0));
}

TEST_F(STLScriptTest, ExportWritesItsLogLinesAndTheReaders) {
    declare({mesh("a.vek", kUnitSquare, kQuad)});
    logLines.clear();
    const std::string out = dir.file("out.stl");
    host.call("ExportSTLAllDeclaredVek", out);
    EXPECT_EQ(logLines, (Strings{"ExportSTLAllDeclaredVek called : compAllBBox + buildMatrix + writeAllKMesh",
                                 " -> " + out, "  Vek Reading [Points] (4)", "  Vek Reading [Face4] (1 fac)"}));
}

TEST_F(STLScriptTest, MissingOutputDirectoryWritesNothing) {
    declare({mesh("a.vek", kUnitSquare, kQuad)});
    EXPECT_EQ(host.call("ExportSTLAllDeclaredVek", dir.file("no/such/dir/out.stl")), 0.0);
    EXPECT_FALSE(pathExists(dir.file("no")));
}

TEST_F(STLScriptTest, NullOutputPathReturnsZero) {
    declare({mesh("a.vek", kUnitSquare, kQuad)});
    EXPECT_EQ(host.call("ExportSTLAllDeclaredVek", nullptr), 0.0);
}

TEST_F(STLScriptTest, DirectoryAndMissingFilesAreSkipped) {
    declare({dir.path(), dir.file("missing.vek"), mesh("a.vek", kUnitSquare, kQuad)});
    EXPECT_EQ(readFileBytes(exportSTL("BINARY", 1.0)), unitQuadRecords(0));
}

TEST_F(STLScriptTest, FacesOutsideThePointsAreSkipped) {
    declare({mesh("a.vek", kUnitSquare, {{0, 1, 2, 3}, {0, 1, 99, -1}, {-5, 0, 1, 2}, {0, 1, 2, -7}})});
    EXPECT_EQ(readFileBytes(exportSTL("BINARY", 1.0)), unitQuadRecords(0));
}

TEST_F(STLScriptTest, PathIsTakenFromItsFirstSlash) {
    // "dir/file.stl" names "/file.stl": what precedes the first "/" is dropped.
    declare({});
    host.call("DeclareBinaryOrASCII", "BINARY");
    EXPECT_EQ(host.call("ExportSTLAllDeclaredVek", "relative" + dir.file("r.stl")), 0.0);
    EXPECT_EQ(readFileBytes(dir.file("r.stl")), stlHeader(0));
}

TEST_F(STLScriptTest, PathDropsItsVolumePrefixAndFirstComponent) {
    declare({});
    host.call("DeclareBinaryOrASCII", "BINARY");
    EXPECT_EQ(host.call("ExportSTLAllDeclaredVek", "volume:ignored" + dir.file("v.stl")), 0.0);
    EXPECT_EQ(readFileBytes(dir.file("v.stl")), stlHeader(0));
}

TEST_F(STLScriptTest, OutOfMemoryNeverCrossesTheExport) {
    if (kAddressSanitizer)
        GTEST_SKIP() << "AddressSanitizer reserves terabytes of address space: RLIMIT_AS cannot be set";
    const std::string big = vek("big.vek", [](vekgen::VekWriter& w) {
        w.points(kUnitSquare);
        // A count within the allowance beyond the bytes present: the reader
        // sizes the array from it (64 MiB of indices).
        w.rawBlock(vekgen::kTagFace4, 4 * 1024 * 1024 - 1, std::vector<unsigned char>(16, 0));
        w.endBlock();
    });
    declare({big});
    const std::string out = dir.file("out.stl");
    EXPECT_EXIT(
        {
            struct rlimit limit;
            getrlimit(RLIMIT_AS, &limit);
            // Leave too little address space for the index array.
            FILE* status = std::fopen("/proc/self/statm", "r");
            unsigned long pages = 0;
            if (!status || std::fscanf(status, "%lu", &pages) != 1) std::exit(3);
            std::fclose(status);
            limit.rlim_cur = pages * static_cast<unsigned long>(sysconf(_SC_PAGESIZE)) + (16ul << 20);
            if (setrlimit(RLIMIT_AS, &limit) != 0) std::exit(4);
            const double result = host.call("ExportSTLAllDeclaredVek", out);
            std::exit(result == 0.0 ? 0 : 5);
        },
        ::testing::ExitedWithCode(0), "");
}
