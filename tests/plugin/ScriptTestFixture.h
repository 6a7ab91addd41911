#pragma once

#include "HostLibrary.h"
#include "TestFiles.h"
#include "VekTestFiles.h"

#include "support/QMLogServer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// A host session: the loaded library, a directory for the script's files and
// the log lines the library forms while the test runs. The library's settings
// live as long as the process, like the host's; ctest runs every test in a
// process of its own, so a test that checks a default sees the load-time value.
class ScriptTest : public ::testing::Test {
protected:
    void SetUp() override {
        QMLogServer::setObserver([this](const char* line) { logLines.push_back(line); });
    }
    void TearDown() override { QMLogServer::setObserver({}); }

    // Declares the files, as the script does before an export.
    void declare(const std::vector<std::string>& paths) {
        host.call("StartDeclareVekFiles");
        for (const std::string& path : paths) host.call("AddOneVekFile", path);
        host.call("EndDeclareVekFiles");
    }

    std::string vek(const std::string& name, const std::function<void(vekgen::VekWriter&)>& build) {
        return writeVekFile(dir.file(name), build);
    }

    HostLibrary host;
    TempDir dir;
    std::vector<std::string> logLines;
};

using Bytes = std::vector<unsigned char>;

inline void append(Bytes& bytes, const Bytes& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

inline Bytes stlHeader(std::uint32_t count) {
    Bytes bytes(80, ' ');
    append(bytes, le32(count));
    return bytes;
}

// A binary STL record: normal, three vertices, then the two attribute spaces.
inline Bytes stlRecord(std::initializer_list<float> twelveFloats) {
    Bytes bytes;
    for (float v : twelveFloats) append(bytes, le32f(v));
    bytes.push_back(' ');
    bytes.push_back(' ');
    return bytes;
}
