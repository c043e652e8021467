#include "ui/content/update_sections.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/json_writer.h"
#include "support/simulated_model.h"
#include "ui/content/content_json.h"
#include "ui/content/content_view.h"
#include "ui/content/linux_words.h"

namespace korvel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace update_state;
using Kind = WhatsNew::Kind;
using Line = PopoverContent::UpdateLine;

class UpdateSections : public testing::Test {
  protected:
    void become(const Updater::State& state) { simulated.updater->state = state; }
    std::optional<Line> line() const { return view.content().update; }
    std::string json() const {
        JsonWriter writer;
        writer.beginObject();
        writeContentMembers(writer, view.content());
        writer.endObject();
        return writer.text();
    }

    test::SimulatedModel simulated;
    ContentView view{simulated.model, simulated.system.services(), simulated.awake,
                     simulated.updater, simulated.whatsNew};
};

TEST_F(UpdateSections, IdleOrUpToDateThereIsNoLine) {
    EXPECT_EQ(line(), std::nullopt);
    become(UpToDate{});
    EXPECT_EQ(line(), std::nullopt);
    EXPECT_THAT(json(), HasSubstr(R"("update":null)"));
}

TEST_F(UpdateSections, EachOtherStateHasItsLine) {
    using Click = Line::Action;
    using Progress = Line::Progress;
    using Style = Line::Style;
    const struct {
        Updater::State state;
        Line line;
    } cases[] = {
        {Checking{},
         {"", Ink::cyan, Progress::spinning, 0, "Checking for updates…", Style::regular, "",
          Click::none}},
        {Available{"2.0 \"beta\""},
         {"arrow.down.circle.fill", Ink::cyan, Progress::none, 0,
          "Version 2.0 \"beta\" is available", Style::semibold, "Update", Click::install}},
        {Downloading{},
         {"", Ink::cyan, Progress::determinate, 0, "Downloading…", Style::regular, "",
          Click::none}},
        {Installing{},
         {"", Ink::cyan, Progress::spinning, 0, "Verifying and installing…", Style::regular, "",
          Click::none}},
        {ReadyToRelaunch{},
         {"checkmark.circle.fill", Ink::good, Progress::none, 0, "Update installed", Style::regular,
          "Relaunch", Click::relaunch}},
        {Failed{"Download <b>failed</b>"},
         {"exclamationmark.triangle.fill", Ink::warn, Progress::none, 0, "Download <b>failed</b>",
          Style::small, "", Click::none}},
    };
    for (const auto& row : cases) {
        become(row.state);
        ASSERT_TRUE(line()) << row.line.text;
        EXPECT_EQ(*line(), row.line) << row.line.text;
    }
    become(Downloading{0.25});
    EXPECT_EQ(line()->value, 0.25);
}

TEST_F(UpdateSections, TheButtonDoesWhatItSays) {
    view.pressUpdate();
    EXPECT_THAT(simulated.system.http.urls, IsEmpty());
    simulated.updater->pending = Release{"2.0", 101, "https://host/a.zip", "", "", ""};
    become(Available{"2.0"});
    view.pressUpdate();
    EXPECT_THAT(simulated.system.http.urls, ElementsAre("https://host/a.zip"));
    view.pressUpdate();
    EXPECT_EQ(simulated.system.http.urls.size(), 1U) << "no button while it downloads";
    become(ReadyToRelaunch{});
    view.pressUpdate();
    EXPECT_THAT(simulated.system.workspace.relaunched, ElementsAre("/Applications/Korvel.app"));
}

TEST_F(UpdateSections, WhereThereIsNoLineThereIsNothingToPress) {
    simulated.updater->pending = Release{"2.0", 101, "https://host/a.zip", "", "", ""};
    become(UpToDate{});
    view.pressUpdate();
    EXPECT_THAT(simulated.system.http.urls, IsEmpty());
    EXPECT_THAT(simulated.system.workspace.relaunched, IsEmpty());
}

TEST_F(UpdateSections, EveryChangeOfBothIsAnnounced) {
    int announced = 0;
    const Observation observation = view.observe([&] { ++announced; });
    become(Checking{});
    EXPECT_EQ(announced, 1);
    simulated.whatsNew->evaluate();
    EXPECT_EQ(announced, 3) << "the kind and the lines";
    view.dismissWhatsNew();
    EXPECT_EQ(announced, 4);
}

TEST_F(UpdateSections, ThereIsABannerOnlyWhileThereIsSomethingToGreetWith) {
    EXPECT_EQ(view.content().banner, std::nullopt);
    EXPECT_THAT(json(), HasSubstr(R"("banner":null)"));
    simulated.whatsNew->evaluate();
    ASSERT_TRUE(view.content().banner);
    EXPECT_EQ(view.content().banner->heading, "Welcome to Korvel");
    EXPECT_EQ(view.content().banner->subline, "Version 1.0.0");
    EXPECT_EQ(view.content().banner->notes.size(), 3U);
    view.dismissWhatsNew();
    EXPECT_EQ(view.content().banner, std::nullopt);
}

TEST_F(UpdateSections, TheBannerSaysWhatTheUpdateCameFrom) {
    const struct {
        Kind kind;
        std::string heading;
        std::string subline;
    } cases[] = {
        {{Kind::Case::installed, ""}, "Welcome to Korvel", "Version 1.0.0"},
        {{Kind::Case::updated, "0.9"}, "Updated to 1.0.0", "Was 0.9 · what changed"},
        {{Kind::Case::updated, ""}, "Updated to 1.0.0", "What changed"},
        {{Kind::Case::none, ""}, "", ""},
    };
    const WhatsNewBanner banner(simulated.whatsNew);
    for (const auto& row : cases) {
        simulated.whatsNew->kind = row.kind;
        EXPECT_EQ(banner.content().heading, row.heading);
        EXPECT_EQ(banner.content().subline, row.subline);
        EXPECT_EQ(banner.isShown(), !row.heading.empty());
    }
}

TEST_F(UpdateSections, LinesThatComeLateOrTwiceAreShown) {
    simulated.whatsNew->kind = Kind{Kind::Case::updated, "0.9"};
    EXPECT_THAT(view.content().banner->notes, IsEmpty());
    simulated.whatsNew->notes = {"Same", "Same"};
    EXPECT_THAT(view.content().banner->notes, ElementsAre("Same", "Same"));
    EXPECT_THAT(json(), HasSubstr(R"("banner":{"heading":"Updated to 1.0.0","subline":"Was 0.9 )"
                                  "·"
                                  R"( what changed","notes":["Same","Same"]})"));
}

} // namespace
} // namespace korvel
