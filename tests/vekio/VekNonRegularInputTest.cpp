#include "VekReaderFixture.h"

#include <chrono>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// An input that is not a regular file is an unreadable file: no reader ever
// waits on a pipe without a writer.

namespace {

class VekNonRegularInputTest : public VekReaderTest {
protected:
    std::string fifo() {
        const std::string path = dir.file("pipe.vek");
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        return path;
    }
};

}  // namespace

TEST_F(VekNonRegularInputTest, APipeWithoutAWriterIsUnreadableAtOnce) {
    const QMString name(fifo().c_str());
    const auto start = std::chrono::steady_clock::now();
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    EXPECT_FALSE(io.readVertexAndFace4Blocs(name, points, faces));
    BBox box;
    EXPECT_FALSE(io.readBBox(name, box));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(VekNonRegularInputTest, APipeWithASilentWriterIsUnreadable) {
    const std::string path = fifo();
    const int writer = ::open(path.c_str(), O_RDWR);  // holds the pipe open, writes nothing
    ASSERT_GE(writer, 0);
    QMArray<QMVector3f> points;
    EXPECT_FALSE(io.readVertexBloc(QMString(path.c_str()), points));
    close(writer);
}

TEST_F(VekNonRegularInputTest, ADeviceIsUnreadable) {
    QMArray<QMVector3f> points;
    EXPECT_FALSE(io.readVertexBloc(QMString("/dev/zero"), points));
    BBox box;
    EXPECT_FALSE(io.readBBox(QMString("/dev/null"), box));
}

TEST_F(VekNonRegularInputTest, ADirectoryIsUnreadable) {
    QMArray<QMVector3f> points;
    EXPECT_FALSE(io.readVertexBloc(QMString(dir.path().c_str()), points));
}
