// Exports on different threads share nothing: two at once write the same
// bytes as the two one after the other, and each one's progress is told on
// its own thread.

#include "EngineTestSupport.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

class ConcurrentExportTest : public ::testing::Test {
protected:
    void SetUp() override {
        first = writeGeneratedScene(in.file("first"), vekgen::SceneOptions{60'000, 2, 41});
        second = writeGeneratedScene(in.file("second"), vekgen::SceneOptions{45'000, 3, 42});
    }

    // Two exports at once, released together; each callback notes whether it
    // ever ran on another thread than its export's.
    void exportTogether(const ExportOptions& a, const ExportOptions& b) {
        std::atomic<int> ready{0};
        const auto run = [&ready](ExportOptions options, bool& ok) {
            const std::thread::id self = std::this_thread::get_id();
            bool onOwnThread = true;
            int calls = 0;
            options.progress = [&](const Progress&) {
                onOwnThread = onOwnThread && std::this_thread::get_id() == self;
                ++calls;
                return ProgressAction::Continue;
            };
            ++ready;
            while (ready < 2) std::this_thread::yield();
            ok = ombrel::exportScene(options).ok() && onOwnThread && calls > 0;
        };
        bool okA = false, okB = false;
        std::thread threadA(run, a, std::ref(okA));
        std::thread threadB(run, b, std::ref(okB));
        threadA.join();
        threadB.join();
        EXPECT_TRUE(okA) << a.output;
        EXPECT_TRUE(okB) << b.output;
    }

    TempDir in;
    TempDir out;
    GeneratedScene first;
    GeneratedScene second;
};

}  // namespace

TEST_F(ConcurrentExportTest, TwoExportsAtOnceWriteWhatTheyWriteAlone) {
    ExportOptions stl = exportOptions(first.paths, out.file("alone.stl"), Format::AsciiStl, 80.0);
    ExportOptions vrml = exportOptions(second.paths, out.file("alone.wrl"), Format::Vrml, 120.0);
    vrml.vertexColors = true;
    ASSERT_TRUE(ombrel::exportScene(stl).ok());
    ASSERT_TRUE(ombrel::exportScene(vrml).ok());
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        stl.output = out.file("together.stl");
        vrml.output = out.file("together.wrl");
        exportTogether(stl, vrml);
        EXPECT_TRUE(sameFileBytes(out.file("together.stl"), out.file("alone.stl")));
        EXPECT_TRUE(sameFileBytes(out.file("together.wrl"), out.file("alone.wrl")));
        stl.output = out.file("alone.stl");
        vrml.output = out.file("alone.wrl");
    }
}

TEST_F(ConcurrentExportTest, TwoExportsOfOneSceneAtOnceWriteTheSameFile) {
    // The same inputs read by both at once, two Z-up binary files.
    ExportOptions a = exportOptions(first.paths, out.file("a.stl"), Format::BinaryStl, 25.0);
    a.up = ombrel::UpAxis::Z;
    ExportOptions b = a;
    b.output = out.file("b.stl");
    ExportOptions alone = a;
    alone.output = out.file("alone.stl");
    ASSERT_TRUE(ombrel::exportScene(alone).ok());
    exportTogether(a, b);
    EXPECT_EQ(readFileBytes(out.file("alone.stl")).size(), 84u + 50u * (2 * first.faces - first.triangles));
    EXPECT_TRUE(sameFileBytes(out.file("a.stl"), out.file("alone.stl")));
    EXPECT_TRUE(sameFileBytes(out.file("b.stl"), out.file("alone.stl")));
}
