#include "platform/simulated/status_bar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

using testing::ElementsAre;

TEST(SimulatedStatusBar, RemembersEveryTitle) {
    SimulatedStatusBar bar;
    const auto item = bar.makeStatusItem();
    const StatusTitle one{.score = 1, .runs = {{.text = "one", .size = 9}}};
    const StatusTitle two{.score = 2, .runs = {{.text = "two", .size = 9}}};
    item->setTitle(one);
    item->setTitle(two);
    item->setTitle(two);
    EXPECT_THAT(bar.titles, ElementsAre(one, two, two));
}

TEST(SimulatedStatusBar, AClickRunsTheActionOfTheItem) {
    SimulatedStatusBar bar;
    bar.click(); // nothing to click on
    auto item = bar.makeStatusItem();
    bar.click(); // nothing to do
    int clicks = 0;
    item->setAction([&](const ActivationRequest&) { ++clicks; });
    bar.click();
    EXPECT_EQ(clicks, 1);
    item.reset();
    bar.click();
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(bar.items, 0);
}

TEST(SimulatedStatusBar, ChoosesAMenuItemByItsTitle) {
    SimulatedStatusBar bar;
    int chosen = 0;
    bar.setMainMenu({{{"", {{"Quit", MenuCommand::terminate, [&] { ++chosen; }, "q"}}},
                      {"Edit", {{"Cut", MenuCommand::cut, {}, "x"}}}}});
    EXPECT_TRUE(bar.choose("Quit"));
    EXPECT_TRUE(bar.choose("Cut"));
    EXPECT_FALSE(bar.choose("Paste"));
    EXPECT_EQ(chosen, 1);
}

TEST(SimulatedPopover, TellsOfChangesOnly) {
    SimulatedStatusBar bar;
    const auto item = bar.makeStatusItem();
    std::vector<bool> told;
    SimulatedPopover popover([&](bool shown) { told.push_back(shown); });
    popover.close();
    popover.show(*item, {});
    popover.show(*item, {});
    EXPECT_TRUE(popover.shown());
    popover.close();
    EXPECT_FALSE(popover.shown());
    EXPECT_THAT(told, ElementsAre(true, false));
}

TEST(SimulatedPopover, AClickOutsideClosesItWhenItIsOpen) {
    SimulatedStatusBar bar;
    const auto item = bar.makeStatusItem();
    std::vector<bool> told;
    SimulatedPopover popover([&](bool shown) { told.push_back(shown); });
    popover.clickOutside();
    popover.show(*item, {});
    popover.clickOutside();
    EXPECT_FALSE(popover.shown());
    EXPECT_THAT(told, ElementsAre(true, false));
}

} // namespace
} // namespace korvel::platform
