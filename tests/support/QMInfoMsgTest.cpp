#include "support/QMInfoMsg.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

TEST(QMInfoMsg, ObserverReceivesTextAndNullTitle) {
    std::vector<std::string> seen;
    QMInfoMsg::setObserver([&](const char* text, const char* title) {
        seen.push_back(std::string(text) + "|" + (title ? title : "<null>"));
    });
    QMInfoMsg::display(QMString("Error: cannot find Kelvra version!"), QMString());
    QMInfoMsg::setObserver({});
    QMInfoMsg::display(QMString("not seen"), QMString());
    EXPECT_EQ(seen, (std::vector<std::string>{"Error: cannot find Kelvra version!|<null>"}));
}
