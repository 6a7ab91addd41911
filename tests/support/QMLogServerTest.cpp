#include "support/QMLogServer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class QMLogServerTest : public ::testing::Test {
protected:
    void SetUp() override {
        QMLogServer::setObserver([this](const char* line) { lines.push_back(line); });
    }
    void TearDown() override { QMLogServer::setObserver({}); }
    std::vector<std::string> lines;
};

}  // namespace

TEST_F(QMLogServerTest, ObserverReceivesFormattedLine) {
    QMLogServer::printLine(QMString("AddOneVekFile called : %s"), "x.vek");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "AddOneVekFile called : x.vek");
}

TEST_F(QMLogServerTest, RemovedObserverReceivesNothing) {
    QMLogServer::setObserver({});
    QMLogServer::printLine(QMString("line"));
    EXPECT_TRUE(lines.empty());
}

TEST(QMLogServer, InitMarksInitialised) {
    QMLogServer::m_initialized = false;
    QMLogServer::init();
    EXPECT_TRUE(QMLogServer::m_initialized);
}
