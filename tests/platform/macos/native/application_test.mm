#include "platform/macos/macos_application.h"

#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#import "platform/macos/native/kit/on_appkit.h"
#import "platform/macos/native/kit/toolkit.h"

namespace korvel {
namespace {

using platform::MacosApplication;
using testing::ElementsAre;
using testing::IsEmpty;

class ApplicationOnAppKit : public testing::Test {};

TEST_F(ApplicationOnAppKit, IsAnAccessoryWithoutAPlaceInTheDock) {
    const MacosApplication application;
    EXPECT_EQ(NSApplication.sharedApplication.activationPolicy,
              NSApplicationActivationPolicyAccessory);
}

TEST_F(ApplicationOnAppKit, TellsTheToolkitToLeaveTheFrontProgramInFront) {
    ::unsetenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM");
    const MacosApplication application;
    const char* told = std::getenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM");
    ASSERT_NE(told, nullptr);
    EXPECT_STREQ(told, "1");
}

TEST_F(ApplicationOnAppKit, NeitherItNorTheToolkitActivatesTheProgram) {
    ::unsetenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM");
    const MacosApplication application;
    kit::startToolkit();
    EXPECT_FALSE(NSApplication.sharedApplication.active);
    EXPECT_THAT(kit::desktop().log, IsEmpty());
}

TEST_F(ApplicationOnAppKit, ActivatesOverTheActiveProgramWhenAsked) {
    platform::activateApplication();
    EXPECT_TRUE(NSApplication.sharedApplication.active);
    EXPECT_THAT(kit::desktop().log, ElementsAre("activate"));
}

TEST_F(ApplicationOnAppKit, IsTheDelegateOfTheApplicationObject) {
    const MacosApplication application;
    id delegate = (__bridge id)application.delegate();
    EXPECT_NE(delegate, nil);
    EXPECT_EQ(NSApplication.sharedApplication.delegate, delegate);
}

TEST_F(ApplicationOnAppKit, SavesAndEndsWhenTheSessionEnds) {
    MacosApplication application;
    std::vector<std::string> order;
    application.setWillTerminate([&] {
        order.emplace_back("saved with " + std::to_string(kit::desktop().exits) + " exits");
    });
    EXPECT_TRUE(kit::logOut());
    EXPECT_THAT(kit::desktop().replies, ElementsAre(NSTerminateNow));
    EXPECT_THAT(order, ElementsAre("saved with 0 exits"));
}

TEST_F(ApplicationOnAppKit, SavesAndEndsWithAToolkitWhoseLoopRuns) {
    MacosApplication application;
    kit::startToolkit();
    int saved = 0;
    application.setWillTerminate([&saved] { ++saved; });
    EXPECT_TRUE(kit::logOut());
    EXPECT_THAT(kit::desktop().replies, ElementsAre(NSTerminateNow));
    EXPECT_EQ(saved, 1);
}

TEST_F(ApplicationOnAppKit, IsHeldUpByAToolkitThatWasThereFirst) {
    kit::startToolkit();
    EXPECT_FALSE(kit::logOut()) << "this is what the delegate is for";
}

TEST_F(ApplicationOnAppKit, ItsActionsReachItThroughAToolkit) {
    MacosApplication application;
    kit::startToolkit();
    int checks = 0;
    application.setCheckForUpdates([&checks] { ++checks; });
    EXPECT_TRUE([NSApplication.sharedApplication sendAction:sel_registerName("checkForUpdates")
                                                         to:nil
                                                       from:nil]);
    EXPECT_EQ(checks, 1);
}

TEST_F(ApplicationOnAppKit, SavesOnceHoweverOftenItIsAskedToEnd) {
    MacosApplication application;
    int saved = 0;
    application.setWillTerminate([&] {
        ++saved;
        application.terminate(); // a signal comes while it saves
    });
    application.terminate();
    application.terminate();
    EXPECT_EQ(saved, 1);
}

TEST_F(ApplicationOnAppKit, EndsThroughTheApplicationObject) {
    MacosApplication application;
    application.terminate();
    EXPECT_EQ(kit::desktop().exits, 1);
    EXPECT_THAT(kit::desktop().replies, ElementsAre(NSTerminateNow));
}

TEST_F(ApplicationOnAppKit, DoesNothingForWhatItWasNotTold) {
    const MacosApplication application;
    id delegate = (__bridge id)application.delegate();
    for (const char* action : {"togglePopover", "checkForUpdates"}) {
        EXPECT_TRUE([NSApplication.sharedApplication sendAction:sel_registerName(action)
                                                             to:delegate
                                                           from:nil])
            << action;
    }
}

TEST_F(ApplicationOnAppKit, AnActionMayPutAnotherInItsPlace) {
    MacosApplication application;
    std::vector<std::string> done;
    application.setCheckForUpdates([&application, &done] {
        const std::string text = "first, with what it holds";
        application.setCheckForUpdates([&done] { done.emplace_back("second"); });
        done.push_back(text);
    });
    for (int i = 0; i < 2; ++i) {
        [NSApplication.sharedApplication sendAction:sel_registerName("checkForUpdates")
                                                 to:nil
                                               from:nil];
    }
    EXPECT_THAT(done, ElementsAre("first, with what it holds", "second"));
}

TEST_F(ApplicationOnAppKit, IsAskedNothingOnceItIsGone) {
    auto application = std::make_optional<MacosApplication>();
    id delegate = (__bridge id)application->delegate();
    int calls = 0;
    application->setTogglePopover([&calls] { ++calls; });
    application->setCheckForUpdates([&calls] { ++calls; });
    application->setWillTerminate([&calls] { ++calls; });
    kit::startToolkit();
    application.reset();
    for (const char* action : {"togglePopover", "checkForUpdates"}) {
        [NSApplication.sharedApplication sendAction:sel_registerName(action) to:delegate from:nil];
    }
    kit::logOut();
    EXPECT_EQ(calls, 0);
}

TEST_F(ApplicationOnAppKit, LeavesNoDelegateBehind) {
    { const MacosApplication application; }
    EXPECT_EQ(NSApplication.sharedApplication.delegate, nil);
}

TEST_F(ApplicationOnAppKit, TheScreensHeightIsWithoutMenuBarAndDock) {
    kit::desktop().visibleFrame = NSRect{{0, 70}, {1512, 812}};
    EXPECT_EQ(platform::visibleScreenHeight(), std::optional<double>(812));
}

TEST_F(ApplicationOnAppKit, WithoutAScreenThereIsNoHeight) {
    kit::desktop().screen = false;
    EXPECT_EQ(platform::visibleScreenHeight(), std::nullopt);
}

} // namespace
} // namespace korvel
