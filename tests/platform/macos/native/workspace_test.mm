#include "platform/macos/macos_workspace.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#import "platform/macos/native/foundation/foundation.h"
#import "platform/macos/native/kit/appkit.h"
#import "platform/macos/ns_string.h"

namespace korvel::platform {

TEST(MacosWorkspaceTest, SelectsOneFileInTheFinder) {
    MacosWorkspace workspace([](const std::string&) {});
    workspace.reveal("/Volumes/Größe/Korvel 2.app");
    const auto& revealed = kit::desktop().revealed;
    ASSERT_EQ(revealed.size(), 1U);
    ASSERT_EQ(revealed[0].count, 1U);
    NSURL* url = [revealed[0] objectAtIndex:0];
    EXPECT_TRUE(url.isFileURL);
    EXPECT_EQ(toString(url.path), "/Volumes/Größe/Korvel 2.app");
}

TEST(MacosWorkspaceTest, RelaunchesTheBundleThatItIsGivenOnceAndRevealsNothing) {
    std::vector<std::string> relaunched;
    MacosWorkspace workspace([&](const std::string& bundle) { relaunched.push_back(bundle); });
    workspace.relaunch("/Applications/Korvel.app");
    EXPECT_EQ(relaunched, std::vector<std::string>{"/Applications/Korvel.app"});
    EXPECT_TRUE(kit::desktop().revealed.empty());
}

} // namespace korvel::platform
