#include "platform/linux/session/startup_notification.h"

#include <gtest/gtest.h>

#include <string>

namespace korvel::platform {
namespace {

std::string joined(const std::string& token) {
    std::string all;
    for (const auto& piece : startupCompletion(token)) {
        all.append(piece.data(), piece.size());
    }
    return all;
}

TEST(CompletionOfAStartup, NamesTheTokenAndEndsWithZeros) {
    EXPECT_EQ(joined("a_TIME1"), std::string("remove: ID=a_TIME1") + std::string(2, '\0'));
}

TEST(CompletionOfAStartup, HasAPieceForTheZeroAlone) {
    EXPECT_EQ(startupCompletion("123456789").size(), 2U);
    EXPECT_EQ(joined("123456789"), "remove: ID=123456789" + std::string(20, '\0'));
}

TEST(CompletionOfAStartup, IsCutIntoAsManyPiecesAsItNeeds) {
    const std::string token = "gnome-shell/Korvel/4711-0-host_TIME57691740";
    EXPECT_EQ(startupCompletion(token).size(), 3U);
    EXPECT_EQ(joined(token), "remove: ID=" + token + std::string(6, '\0'));
}

TEST(CompletionOfAStartup, MarksWhatWouldEndTheToken) {
    EXPECT_EQ(joined("a b\"c\\d").substr(0, 21), "remove: ID=a\\ b\\\"c\\\\d");
}

} // namespace
} // namespace korvel::platform
