#include "engine/OmbrelExport.h"

#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <system_error>

// Formats written outside the library through the engine's SceneWriter.

namespace {

// Writes each mesh as one line: its name, counts and first placed point.
class LineWriter : public ombrel::SceneWriter {
public:
    void begin(std::FILE* output) override { m_output = output; }
    std::uint64_t writeMesh(const ombrel::SceneMesh& mesh,
                            const std::function<void(std::uint64_t)>& facesWritten) override {
        if (failWith) throw std::system_error(failWith, std::generic_category());
        std::fprintf(m_output, "%s %zu %zu %zu %g %g %g\n", mesh.name.c_str(), mesh.pointCount, mesh.faceCount,
                     mesh.colourCount, mesh.points[0], mesh.points[1], mesh.points[2]);
        facesWritten(mesh.faceCount);
        return 2 * mesh.faceCount;
    }
    void end() override { std::fputs("end\n", m_output); }

    int failWith = 0;

private:
    std::FILE* m_output = nullptr;
};

class SceneWriterTest : public ::testing::Test {
protected:
    std::string quadFile(const std::string& name, float y) {
        return writeVekFile(dir.file(name), [&](vekgen::VekWriter& w) {
            w.points(std::vector<vekgen::Point3>{{0, y, 0}, {1, y, 0}, {1, y + 1, 0}, {0, y + 1, 0}});
            w.face4(std::vector<vekgen::Face4>{{0, 1, 2, 3}});
            w.mrgb(std::vector<std::uint32_t>{1, 2, 3, 4});
            w.endBlock();
        });
    }
    ombrel::ExportOptions options() {
        ombrel::ExportOptions options;
        options.inputs = {{quadFile("lower.vek", 0)}, {quadFile("upper.vek", 1)}};
        options.output = dir.file("scene.out");
        options.format = ombrel::Format::ThreeMF;
        options.height = 4.0;
        return options;
    }
    TempDir dir;
};

}  // namespace

TEST_F(SceneWriterTest, TheWriterGetsEachFilePlacedAndNamed) {
    LineWriter writer;
    ombrel::ExportOptions opts = options();
    opts.vertexColors = true;
    const ombrel::ExportResult result = ombrel::exportScene(opts, writer);
    ASSERT_TRUE(result.ok()) << result.status.describe();
    EXPECT_EQ(readFileText(dir.file("scene.out")), "lower 4 1 4 0 0 0\nupper 4 1 4 0 2 0\nend\n");
    EXPECT_EQ(result.report.trianglesWritten, 4u);
    EXPECT_EQ(result.report.bytesWritten, readFileText(dir.file("scene.out")).size());
    EXPECT_EQ(result.report.size[1], 4.0);
    EXPECT_TRUE(result.report.check.watertight() == false);  // two open quads
}

TEST_F(SceneWriterTest, ColoursStayOutUnlessAskedFor) {
    LineWriter writer;
    ASSERT_TRUE(ombrel::exportScene(options(), writer).ok());
    EXPECT_EQ(readFileText(dir.file("scene.out")), "lower 4 1 0 0 0 0\nupper 4 1 0 0 2 0\nend\n");
}

TEST_F(SceneWriterTest, ZUpTurnsThePointsTheWriterGets) {
    LineWriter writer;
    ombrel::ExportOptions opts = options();
    opts.up = ombrel::UpAxis::Z;
    ASSERT_TRUE(ombrel::exportScene(opts, writer).ok());
    EXPECT_EQ(readFileText(dir.file("scene.out")), "lower 4 1 0 0 0 0\nupper 4 1 0 0 0 2\nend\n");
}

TEST_F(SceneWriterTest, AWriteFailureKeepsThePreviousFile) {
    writeFileText(dir.file("scene.out"), "previous");
    LineWriter writer;
    writer.failWith = ENOSPC;
    const ombrel::ExportResult result = ombrel::exportScene(options(), writer);
    EXPECT_EQ(result.status.kind, ombrel::StatusKind::kWriteFailed);
    EXPECT_EQ(result.status.systemError, ENOSPC);
    EXPECT_EQ(result.status.reason, "No space left on device");
    EXPECT_EQ(readFileText(dir.file("scene.out")), "previous");
    EXPECT_EQ(directoryEntries(dir.path()), (std::vector<std::string>{"lower.vek", "scene.out", "upper.vek"}));
}

TEST_F(SceneWriterTest, ThreeMFWithoutItsWriterIsRefused) {
    const ombrel::ExportResult result = ombrel::exportScene(options());
    EXPECT_EQ(result.status.kind, ombrel::StatusKind::kInvalidOptions);
    EXPECT_EQ(result.status.describe(), "3MF is written by the ombrel3mf library: link it and call ombrel::export3MF");
    EXPECT_FALSE(pathExists(dir.file("scene.out")));
}
