// The program itself, from its main to its end: each case is a process of its own, on the kit and
// on a simulated machine. What it saw is on its error output.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QObject>
#include <QQuickView>
#include <unistd.h>

#import "platform/macos/native/foundation/foundation.h"
#import "platform/macos/native/kit/on_appkit.h"
#import "platform/macos/native/kit/toolkit.h"
#include "platform/macos/native/with_qt/program_stand_ins.h"
#import "platform/macos/native/with_qt/qt_view.h"
#include "support/temp_tree.h"
#include "update/updater.h"

// The program has a main of its own; the process begins with that of the tests.
int mainOfTheProgram(int argc, char** argv) asm("__real_main");
int mainOfTheTests(int argc, char** argv) asm("__wrap_main");

int mainOfTheTests(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

namespace {

void (*scenario)() = nullptr;

void say(const char* what, long value) {
    std::fprintf(stderr, "%s %ld\n", what, value);
}

/// What is left of the program when it has ended.
void sayWhatIsKept() {
    const std::filesystem::path home = std::getenv("HOME");
    say("history", static_cast<long>(std::filesystem::exists(home / ".korvel-history.json")));
    say("assertions", static_cast<long>(korvel::kit::power().held.size()));
    say("settings", [NSUserDefaults storedObjectForKey:@"probe"] != nil);
}

/// As soon as Qt's application object is there, before the program goes on.
void atQtsApplication() {
    const char* told = std::getenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM");
    say("told Qt", told != nullptr && std::string(told) == "1");
    say("delegate", NSApplication.sharedApplication.delegate != nil);
    korvel::kit::startToolkit(); // which Qt's plugin without a screen is not
    std::atexit(sayWhatIsKept);  // ahead of the program's own, and so run after it
    // In the loop, after what the launch has queued.
    const auto later = [](auto&& work) {
        QMetaObject::invokeMethod(QCoreApplication::instance(), work, Qt::QueuedConnection);
    };
    later([later] { later([] { scenario(); }); });
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(atQtsApplication)

void endOfTheProcess(int status) asm("__real__Exit");
void atTheEnd(int status) asm("__wrap__Exit");

/// The program's last call.
void atTheEnd(int status) {
    sayWhatIsKept();
    say("end", status);
    endOfTheProcess(status);
}

namespace korvel {
namespace {

using testing::AllOf;
using testing::ExitedWithCode;
using testing::HasSubstr;

/// The program should have ended.
void heldUp() {
    say("held up", 1);
    endOfTheProcess(EXIT_FAILURE);
}

void endTheSession() {
    kit::logOut();
    heldUp();
}

constexpr unsigned kLongestCase = 60; // seconds, after which a case that hangs has failed

class ProgramOnAppKit : public testing::Test {
  protected:
    /// Runs the program, and `what` in its loop. Does not return.
    void run(void (*what)()) const {
        ::alarm(kLongestCase);
        ::setenv("HOME", home.root().c_str(), 1);
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        ::unsetenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM");
        [NSBundle runFrom:@"/Applications/Korvel.app"
               identifier:@"example.korvel"
                     info:[[NSDictionary alloc] init]];
        // The feed was asked a moment ago, and the notes of this build are known.
        [NSUserDefaults
            storeObject:[NSNumber numberWithDouble:static_cast<double>(std::time(nullptr))]
                 forKey:@"lastUpdateCheck"];
        [NSUserDefaults storeObject:[NSNumber numberWithBool:YES] forKey:@"awakeOn"];
        scenario = what;
        std::string name = "korvel";
        char* arguments[] = {name.data(), nullptr};
        mainOfTheProgram(1, arguments);
    }

    static NSButton* button() { return kit::desktop().items.back().button; }

    TempTree home;
};

#define EXPECT_RUN(what, matcher) EXPECT_EXIT(run(what), ExitedWithCode(0), matcher)

TEST_F(ProgramOnAppKit, ItsDelegateAndItsRequestAreThereBeforeQtsApplication) {
    EXPECT_RUN(endTheSession, AllOf(HasSubstr("told Qt 1\n"), HasSubstr("delegate 1\n")));
}

TEST_F(ProgramOnAppKit, LaunchesAsAnAccessoryAndLeavesTheFrontProgramInFront) {
    EXPECT_RUN(
        [] {
            say("policy", NSApplication.sharedApplication.activationPolicy);
            say("active", NSApplication.sharedApplication.active);
            say("asked of windows", static_cast<long>(kit::desktop().log.size()));
            say("items", static_cast<long>(kit::desktop().items.size()));
            say("menus",
                static_cast<long>([NSApplication.sharedApplication.mainMenu kitItems].size()));
            endTheSession();
        },
        AllOf(HasSubstr("policy 1\n"), HasSubstr("active 0\n"), HasSubstr("asked of windows 0\n"),
              HasSubstr("items 1\n"), HasSubstr("menus 2\n")));
}

TEST_F(ProgramOnAppKit, AsksOnceForNotifications) {
    EXPECT_RUN(
        [] {
            say("questions", static_cast<long>(kit::desktop().askedOptions.size()));
            endTheSession();
        },
        HasSubstr("questions 1\n"));
}

/// All that survives the end is kept, and what is held is given back.
const auto kAllKept = AllOf(HasSubstr("held 2\n"), HasSubstr("history 1\n"),
                            HasSubstr("assertions 0\n"), HasSubstr("settings 1\n"));
const auto kWholeEnd = AllOf(kAllKept, HasSubstr("end 0\n"));

/// Something that is only in memory, and keep-awake as it is.
void prepareForTheEnd() {
    [NSUserDefaults.standardUserDefaults setBool:YES forKey:@"probe"];
    say("held", static_cast<long>(kit::power().held.size()));
}

TEST_F(ProgramOnAppKit, TheEndOfTheSessionIsNotHeldUpByKeepAwake) {
    EXPECT_RUN(
        [] {
            prepareForTheEnd();
            endTheSession();
        },
        kWholeEnd);
}

TEST_F(ProgramOnAppKit, CommandQEndsIt) {
    EXPECT_RUN(
        [] {
            prepareForTheEnd();
            [NSApplication.sharedApplication.mainMenu kitPerformCommandKey:"q"];
            heldUp();
        },
        kWholeEnd);
}

TEST_F(ProgramOnAppKit, ASignalEndsItAsAQuitDoes) {
    EXPECT_RUN(
        [] {
            prepareForTheEnd();
            std::raise(SIGTERM);
        },
        kWholeEnd);
}

TEST_F(ProgramOnAppKit, TheLoopThatIsLeftEndsItAsAQuitDoes) {
    EXPECT_RUN(
        [] {
            prepareForTheEnd();
            QCoreApplication::exit(0);
        },
        kWholeEnd);
}

TEST_F(ProgramOnAppKit, AFatalMessageOfQtsLosesNothing) {
    EXPECT_EXIT(run([] {
                    prepareForTheEnd();
                    qFatal("the display is gone");
                }),
                ExitedWithCode(EXIT_FAILURE), kAllKept);
}

TEST_F(ProgramOnAppKit, AClickOpensThePopoverWithTheKeyboardAndTheNextClosesIt) {
    EXPECT_RUN(
        [] {
            kit::click(button());
            say("open", kit::openPopover() != nil && kit::quickView()->isVisible());
            say("active", NSApplication.sharedApplication.active);
            say("keyboard", kit::qtView().window.keyWindow);
            kit::click(button());
            kit::finishFading();
            say("closed", kit::openPopover() == nil && !kit::quickView()->isVisible());
            endTheSession();
        },
        AllOf(HasSubstr("open 1\n"), HasSubstr("active 1\n"), HasSubstr("keyboard 1\n"),
              HasSubstr("closed 1\n")));
}

TEST_F(ProgramOnAppKit, RapidClicksEndWithAnOpenPopoverThatHasItsViews) {
    EXPECT_RUN(
        [] {
            for (int i = 0; i < 5; ++i) {
                kit::click(button());
            }
            kit::finishFading();
            say("open", kit::openPopover() != nil && kit::quickView()->isVisible());
            endTheSession();
        },
        HasSubstr("open 1\n"));
}

TEST_F(ProgramOnAppKit, ItsMenuLooksForUpdates) {
    EXPECT_RUN(
        [] {
            Updater::shared()->state.didSet = [] {
                say("checks",
                    *Updater::shared()->state == Updater::State(update_state::Checking{}));
                endTheSession(); // before the network is asked
            };
            NSMenu* menu = NSApplication.sharedApplication.mainMenu;
            NSMenu* own = [menu kitItems].front().submenu;
            [[own kitItems].front() kitChoose];
        },
        HasSubstr("checks 1\n"));
}

} // namespace
} // namespace korvel
