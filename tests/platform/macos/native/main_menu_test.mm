#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/macos/macos_application.h"
#include "platform/macos/macos_status_bar.h"
#import "platform/macos/native/kit/on_appkit.h"
#import "platform/macos/ns_string.h"

/// A view that takes what the Edit menu sends, as the popover's does.
@interface EditableView : NSView {
  @public
    std::vector<std::string> received_;
}
@end

@implementation EditableView

- (void)cut:(id)sender {
    received_.emplace_back("cut");
}
- (void)copy:(id)sender {
    received_.emplace_back("copy");
}
- (void)paste:(id)sender {
    received_.emplace_back("paste");
}
- (void)selectAll:(id)sender {
    received_.emplace_back("selectAll");
}

@end

namespace korvel {
namespace {

using platform::MacosApplication;
using platform::MacosStatusBar;
using platform::MenuCommand;
using platform::toString;
using testing::ElementsAre;
using testing::IsEmpty;

class MenuOnAppKit : public testing::Test {
  protected:
    MenuOnAppKit() {
        application.setCheckForUpdates([this] { done.emplace_back("check"); });
        application.setWillTerminate([this] { done.emplace_back("end"); });
        const auto neverCalled = [this] { done.emplace_back("function of the item"); };
        using enum MenuCommand;
        bar.setMainMenu({{{"",
                           {{"Check for Updates…", checkForUpdates, neverCalled, ""},
                            {},
                            {"Quit Korvel", terminate, neverCalled, "q"}}},
                          {"Edit",
                           {{"Cut", cut, {}, "x"},
                            {"Copy", copy, {}, "c"},
                            {"Paste", paste, {}, "v"},
                            {"Select All", selectAll, {}, "a"}}}}});
    }

    static NSMenu* mainMenu() { return NSApplication.sharedApplication.mainMenu; }

    static NSMenuItem* itemCalled(const std::string& title) {
        for (NSMenuItem* holder : [mainMenu() kitItems]) {
            for (NSMenuItem* item : [holder.submenu kitItems]) {
                if (toString(item.title) == title) {
                    return item;
                }
            }
        }
        return nil;
    }

    /// A window with the keyboard, and in it a view that takes what the Edit menu sends.
    EditableView* openWindow() {
        auto* view = [[EditableView alloc] init];
        window = [[NSWindow alloc] init];
        window.contentView = view;
        window.firstResponder = view;
        [window makeKeyAndOrderFront:nil];
        return view;
    }

    std::vector<std::string> done;
    MacosApplication application;
    MacosStatusBar bar{application};
    NSWindow* window = nil;
};

TEST_F(MenuOnAppKit, HasAnApplicationMenuAndAnEditMenu) {
    std::vector<std::string> rows;
    for (NSMenuItem* holder : [mainMenu() kitItems]) {
        rows.push_back("[" + toString(holder.title) + "] " + toString(holder.submenu.title));
        for (NSMenuItem* item : [holder.submenu kitItems]) {
            rows.push_back(item.separatorItem
                               ? "-"
                               : toString(item.title) + "|" + kit::nameOf(item.action) + "|" +
                                     toString(item.keyEquivalent));
        }
    }
    EXPECT_THAT(rows, ElementsAre("[] ", "Check for Updates\u2026|checkForUpdates|", "-",
                                  "Quit Korvel|terminate:|q", "[] Edit", "Cut|cut:|x",
                                  "Copy|copy:|c", "Paste|paste:|v", "Select All|selectAll:|a"));
}

TEST_F(MenuOnAppKit, NoItemHasATarget) {
    int items = 0;
    for (NSMenuItem* holder : [mainMenu() kitItems]) {
        EXPECT_EQ(holder.target, nil);
        for (NSMenuItem* item : [holder.submenu kitItems]) {
            EXPECT_EQ(item.target, nil) << toString(item.title);
            ++items;
        }
    }
    EXPECT_EQ(items, 7);
}

TEST_F(MenuOnAppKit, CheckForUpdatesReachesTheDelegate) {
    [itemCalled("Check for Updates\u2026") kitChoose];
    EXPECT_THAT(done, ElementsAre("check"));
}

TEST_F(MenuOnAppKit, CheckForUpdatesReachesTheDelegatePastAnOpenWindow) {
    const EditableView* view = openWindow();
    [itemCalled("Check for Updates\u2026") kitChoose];
    EXPECT_THAT(done, ElementsAre("check"));
    EXPECT_THAT(view->received_, IsEmpty());
}

TEST_F(MenuOnAppKit, QuitReachesTheApplicationObject) {
    [itemCalled("Quit Korvel") kitChoose];
    EXPECT_THAT(done, ElementsAre("end"));
    EXPECT_EQ(kit::desktop().exits, 1);
}

TEST_F(MenuOnAppKit, CommandQQuits) {
    EXPECT_TRUE([mainMenu() kitPerformCommandKey:"q"]);
    EXPECT_EQ(kit::desktop().exits, 1);
}

TEST_F(MenuOnAppKit, TheCommandKeysOfTheEditMenuReachTheViewWithTheKeyboard) {
    const EditableView* view = openWindow();
    for (const char* key : {"x", "c", "v", "a"}) {
        EXPECT_TRUE([mainMenu() kitPerformCommandKey:key]) << key;
    }
    EXPECT_THAT(view->received_, ElementsAre("cut", "copy", "paste", "selectAll"));
    EXPECT_THAT(done, IsEmpty());
}

TEST_F(MenuOnAppKit, WithoutAWindowTheEditMenuIsGrey) {
    for (const char* title : {"Cut", "Copy", "Paste", "Select All"}) {
        EXPECT_FALSE(itemCalled(title).enabled) << title;
        [itemCalled(title) kitChoose];
    }
    EXPECT_THAT(done, IsEmpty());
    EXPECT_TRUE(itemCalled("Check for Updates\u2026").enabled);
    EXPECT_TRUE(itemCalled("Quit Korvel").enabled);
}

TEST_F(MenuOnAppKit, AnotherMenuTakesThePlaceOfTheOneBefore) {
    bar.setMainMenu({{{"", {{"Quit Korvel", MenuCommand::terminate, {}, "q"}}}}});
    EXPECT_EQ([mainMenu() kitItems].size(), 1U);
    EXPECT_EQ(itemCalled("Copy"), nil);
}

} // namespace
} // namespace korvel
