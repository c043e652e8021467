#include "base/observable.h"

#include <string>

#include <gtest/gtest.h>

namespace korvel {
namespace {

struct Thing : ObservableObject {
    Published<int> number{*this, 1};
    Published<std::string> text{*this};
};

TEST(Published, StartsWithItsInitialValue) {
    const Thing thing;
    EXPECT_EQ(*thing.number, 1);
    EXPECT_EQ(thing.number.get(), 1);
    EXPECT_TRUE(thing.text->empty());
}

TEST(Published, AnnouncesEachWriteWhileTheOldValueStands) {
    Thing thing;
    std::vector<int> seen;
    const Observation observation = thing.observe([&] { seen.push_back(*thing.number); });
    thing.number = 2;
    thing.number = 3;
    EXPECT_EQ(seen, (std::vector{1, 2}));
    EXPECT_EQ(*thing.number, 3);
}

TEST(Published, AnnouncesAWriteOfTheSameValueToo) {
    Thing thing;
    int announced = 0;
    const Observation observation = thing.observe([&] { ++announced; });
    thing.number = 1;
    EXPECT_EQ(announced, 1);
}

TEST(Published, ChangeInPlaceIsAnnouncedOnceBeforeIt) {
    Thing thing;
    std::vector<std::string> seen;
    const Observation observation = thing.observe([&] { seen.push_back(*thing.text); });
    thing.text.update([](std::string& text) {
        text += "a";
        text += "b";
    });
    EXPECT_EQ(seen, std::vector{std::string()});
    EXPECT_EQ(*thing.text, "ab");
}

TEST(Published, TellsOfEachValueOnceItStandsHoweverItWasSet) {
    Thing thing;
    std::vector<std::string> heard;
    const Observation observation = thing.observe([&] { heard.push_back("will: " + *thing.text); });
    thing.text.update([](std::string& text) { text = "unheard"; });
    thing.text.didSet = [&] { heard.push_back("did: " + *thing.text); };
    thing.text = "set";
    thing.text.update([&](std::string& text) {
        heard.push_back("change: " + text);
        text += ", changed";
    });
    EXPECT_EQ(heard, (std::vector<std::string>{"will: ", "will: unheard", "did: set", "will: set",
                                               "change: set", "did: set, changed"}));
}

TEST(Published, EveryObserverHearsEveryPropertyInOrder) {
    Thing thing;
    std::string heard;
    const Observation first = thing.observe([&] { heard += "1"; });
    const Observation second = thing.observe([&] { heard += "2"; });
    thing.number = 5;
    thing.text = "x";
    EXPECT_EQ(heard, "1212");
}

TEST(Published, AnObserverHearsNothingOnceItsObservationIsGone) {
    Thing thing;
    int announced = 0;
    Observation observation = thing.observe([&] { ++announced; });
    thing.number = 2;
    observation.reset();
    thing.number = 3;
    EXPECT_EQ(announced, 1);
}

TEST(Published, AnObserverMayDropItselfAndAddAnother) {
    Thing thing;
    std::string heard;
    Observation later;
    Observation once = thing.observe([&] {
        heard += "once";
        later = thing.observe([&] { heard += " later"; });
        once.reset();
    });
    thing.number = 2;
    thing.number = 3;
    EXPECT_EQ(heard, "once later");
}

} // namespace
} // namespace korvel
