#include "ScriptTestFixture.h"

#include "host/KelvraHelper.h"

using Strings = std::vector<std::string>;

namespace {

// What an export of an empty scene writes tells the STL mode in force.
class EntryFrameTest : public ScriptTest {
protected:
    bool exportsBinary() {
        declare({});
        const std::string out = dir.file("mode.stl");
        host.call("ExportSTLAllDeclaredVek", out);
        const std::string text = readFileText(out);
        if (text == "solid object0 \nendsolid object0 \n") return false;
        EXPECT_EQ(readFileBytes(out), stlHeader(0));
        return true;
    }
};

}  // namespace

TEST_F(EntryFrameTest, FirstInitExporterReturnsOneLaterOnesZero) {
    EXPECT_EQ(host.call("InitExporter", nullptr, 3.12), 1.0);
    EXPECT_EQ(host.call("InitExporter", nullptr, 3.12), 0.0);
    EXPECT_EQ(host.call("InitExporter", nullptr, 3.12), 0.0);
}

TEST_F(EntryFrameTest, EveryInitExporterRecordsItsVersion) {
    host.call("InitExporter", nullptr, 3.1);
    EXPECT_EQ(KelvraHelper::s_version, 310);
    host.call("InitExporter", nullptr, 3.25);
    EXPECT_EQ(KelvraHelper::s_version, 321);
}

TEST_F(EntryFrameTest, InitExporterWritesItsLogLine) {
    host.call("InitExporter", nullptr, 3.12);
    EXPECT_EQ(logLines, (Strings{"Init LogServer in InitExporter(...)"}));
    EXPECT_TRUE(QMLogServer::m_initialized);
}

TEST_F(EntryFrameTest, DefaultExportIsBinary) { EXPECT_TRUE(exportsBinary()); }

TEST_F(EntryFrameTest, BinaryInAnyCaseSelectsBinary) {
    for (const char* word : {"BINARY", "binary", "BiNaRy"}) {
        host.call("DeclareBinaryOrASCII", "ASCII");
        EXPECT_EQ(host.call("DeclareBinaryOrASCII", word), 0.0);
        EXPECT_TRUE(exportsBinary()) << word;
    }
}

TEST_F(EntryFrameTest, AnythingElseSelectsAscii) {
    for (const char* word : {"BIN", "BINARY ", " BINARY", "ASCII", ""}) {
        host.call("DeclareBinaryOrASCII", "BINARY");
        host.call("DeclareBinaryOrASCII", word);
        EXPECT_FALSE(exportsBinary()) << word;
    }
}

TEST_F(EntryFrameTest, NullTextSelectsAscii) {
    EXPECT_EQ(host.call("DeclareBinaryOrASCII", nullptr), 0.0);
    EXPECT_FALSE(exportsBinary());
}

TEST_F(EntryFrameTest, SettersWriteTheirLogLines) {
    host.call("DeclareFlipAndSwitch", nullptr, 3.0);
    host.call("DeclareHeight", nullptr, 12.5);
    host.call("DeclareBinaryOrASCII", "binary");
    host.call("DeclareExportVertexColors", "yes");
    host.call("DeclareExportVertexColors", nullptr);
    EXPECT_EQ(logLines, (Strings{"------------------------------------", "DeclareFlipAndSwitch called : 3.000000",
                                 "DeclareHeight called : 12.500000", "DeclareBinaryOrASCII called => binary",
                                 "DeclareExportVertexColors called: yes", "DeclareExportVertexColors called: (null)"}));
}

TEST_F(EntryFrameTest, SettersReturnZero) {
    EXPECT_EQ(host.call("DeclareFlipAndSwitch", nullptr, -7.5), 0.0);
    EXPECT_EQ(host.call("DeclareHeight", nullptr, -1.0), 0.0);
    EXPECT_EQ(host.call("DeclareExportVertexColors", "YES"), 0.0);
    EXPECT_EQ(host.call("DeclareExportVertexColors", "TRUE"), 0.0);
}

TEST_F(EntryFrameTest, SettersWorkWithoutInitExporter) {
    host.call("DeclareBinaryOrASCII", "ascii");
    EXPECT_FALSE(exportsBinary());
}
