#include "ui/content/spoken.h"

#include <gtest/gtest.h>

#include "ui/content/linux_words.h"

namespace korvel {
namespace {

using Content = PopoverContent;

std::string asTyped(std::string text) {
    return text;
}

Content fair() {
    Content content;
    content.header.spoken = "Health score 65";
    content.header.verdict = "Fair";
    content.header.line = "8 cores · 16 GB · up 3d 4h";
    content.status = {{"info.circle.fill", Ink::cyan, "Nothing urgent", Ink::secondary}};
    content.rows = {{"CPU", 46, "load 6.20 across 8 cores", Ink::good, {}},
                    {"SWAP", 5, "0.4 GB held · frees as apps quit", Ink::good, {}},
                    {"THERMAL", 0, "not reported here", Ink::secondary, {}, false}};
    content.heaviest = {{7, "browser", "3.42 GB", {}}, {8, "", "0.20 GB", {}}};
    content.footer = {"Warden off", "Watchdog is not running", {}, "Quit Halden"};
    return content;
}

Content::FactorLine factor(const std::string& name, const std::string& lost) {
    Content::FactorLine line;
    line.name = name;
    line.lost = lost;
    line.detail = "2.8 GB free to use · macOS is under pressure";
    return line;
}

TEST(Spoken, EachSectionIsOneSentenceThatHoldsItsLines) {
    const SpokenSections spoken = spokenSections(fair(), asTyped);
    EXPECT_EQ(spoken.opening, "Korvel, health score 65, Fair");
    EXPECT_EQ(spoken.header, "Health score 65, Fair, 8 cores, 16 GB, up 3 days 4 hours");
    EXPECT_EQ(spoken.rows, "CPU 46%, load 6.20 across 8 cores; "
                           "Swap 5%, 0.4 GB held, frees as apps quit; Thermal, not reported here");
    EXPECT_EQ(spoken.heaviest, "Heaviest processes: browser, 3.42 GB; unnamed process, 0.20 GB");
    EXPECT_EQ(spoken.awake, "Keep awake, off");
    EXPECT_EQ(spoken.footer, "Warden off: Watchdog is not running");
}

TEST(Spoken, WhatIsNotThereSaysNothing) {
    const SpokenSections spoken = spokenSections(fair(), asTyped);
    EXPECT_EQ(spoken.banner, "");
    EXPECT_EQ(spoken.breakdown, "");
    EXPECT_EQ(spoken.result, "");
    Content content = fair();
    content.heaviest.clear();
    EXPECT_EQ(spokenSections(content, asTyped).heaviest, "Heaviest processes: none");
}

TEST(Spoken, BeforeTheFirstReadingThereIsNoVerdict) {
    Content content = fair();
    content.header.verdict = "";
    const SpokenSections spoken = spokenSections(content, asTyped);
    EXPECT_EQ(spoken.opening, "Korvel, health score 65");
    EXPECT_EQ(spoken.header, "Health score 65, 8 cores, 16 GB, up 3 days 4 hours");
}

TEST(Spoken, WhatWasClearedIsSaidAsOneSentence) {
    Content content = fair();
    content.reclaimResult = "reclaimed 2.3 GB · 52 GB free";
    EXPECT_EQ(spokenSections(content, asTyped).result, "reclaimed 2.3 GB, 52 GB free");
}

TEST(Spoken, ACaptionKeepsItsFirstLetterAndWhatIsNoCapital) {
    const std::pair<const char*, const char*> rows[] = {
        {"CPU", "CPU"}, {"SWAP", "Swap"}, {"AZ 2@[É", "Az 2@[É"}, {"aB", "ab"}, {"", ""}};
    for (const auto& [label, said] : rows) {
        EXPECT_EQ(spokenRow({label, 5, "x", Ink::good, {}}, asTyped), std::string(said) + " 5%, x");
    }
}

TEST(Spoken, ASentenceOfOneLineIsSaidByTheLine) {
    Content content = fair();
    EXPECT_EQ(spokenSections(content, asTyped).status, "");
    content.status.push_back({"", Ink::warn, "Disk · 97% full", Ink::primary});
    EXPECT_EQ(spokenSections(content, asTyped).status, "Nothing urgent; Disk · 97% full");
}

TEST(Spoken, TheGreetingIsSaidWithItsNotes) {
    Content content = fair();
    content.banner = {"Updated to 1.1.0", "Was 1.0.0 · what changed", {"Faster", "Smaller"}};
    EXPECT_EQ(spokenSections(content, asTyped).banner,
              "Updated to 1.1.0, Was 1.0.0, what changed; Faster; Smaller");
}

TEST(Spoken, TheBreakdownNamesWhatTookPoints) {
    struct Row {
        const char* name;
        std::vector<Content::FactorLine> factors;
        const char* said;
    };
    const Row rows[] = {
        {"some",
         {factor("Load", "−14"), factor("CPU", "−3"), factor("Disk", "—")},
         "Points lost, out of 100: Load 14, CPU 3, the others none"},
        {"all",
         {factor("Load", "−14"), factor("CPU", "−1")},
         "Points lost, out of 100: Load 14, CPU 1"},
        {"none", {factor("Load", "—"), factor("CPU", "—")}, "No points lost, out of 100"},
    };
    for (const Row& row : rows) {
        Content content = fair();
        content.breakdown = row.factors;
        EXPECT_EQ(spokenSections(content, asTyped).breakdown, row.said) << row.name;
    }
}

TEST(Spoken, PointsAreSaidAsWords) {
    struct Row {
        const char* lost;
        const char* said;
    };
    for (const Row& row : {Row{"−14", "14 points"}, Row{"−1", "1 point"}, Row{"—", "no points"}}) {
        EXPECT_EQ(spokenFactor(factor("Memory", row.lost), asTyped),
                  std::string("Memory, ") + row.said +
                      " lost, 2.8 GB free to use, macOS is under pressure");
    }
}

TEST(Spoken, TimesAreSaidInFull) {
    struct Row {
        const char* shown;
        const char* said;
    };
    const Row rows[] = {
        {"up 3d 4h", "up 3 days 4 hours"},
        {"up 1d 1h", "up 1 day 1 hour"},
        {"up 11h 0m", "up 11 hours 0 minutes"},
        {"up 1m", "up 1 minute"},
        {"on for 2h 59m more", "on for 2 hours 59 minutes more"},
        {"on, indefinitely", "on, indefinitely"},
        {"a d 2x h m12", "a d 2x h m12"},
        {"good 2d", "good 2 days"},
        {"?d", "?d"},
        {"", ""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(spokenTime(row.shown), row.said);
    }
    Content content = fair();
    content.keepAwake.remaining = "on for 29m more";
    EXPECT_EQ(spokenSections(content, asTyped).awake, "Keep awake, on for 29 minutes more");
}

TEST(Spoken, SaysWhatTheDesktopShows) {
    EXPECT_EQ(spokenFactor(factor("Memory", "−14"), linuxWords),
              "Memory, 14 points lost, 2.8 GB free to use, Linux is under pressure");
    const Row thermal{"THERMAL", 15, "macOS thermal state: normal", Ink::good, {}};
    EXPECT_EQ(spokenRow(thermal, linuxWords), "Thermal 15%, Linux thermal state: normal");
}

TEST(Spoken, EveryTextThatIsShownInTheDesktopsWordsIsSaidInThem) {
    const auto words = [](const std::string& text) { return "<" + text + ">"; };
    Content content = fair();
    content.banner = {"Updated", "Was 1 · changed", {"Faster"}};
    content.status.push_back({"", Ink::warn, "Disk · full", Ink::primary});
    content.reclaimResult = "reclaimed · free";
    const SpokenSections spoken = spokenSections(content, words);
    EXPECT_EQ(spoken.banner, "<Updated>, <Was 1, changed>; <Faster>");
    EXPECT_EQ(spoken.header, "<Health score 65>, <Fair>, <8 cores, 16 GB, up 3 days 4h>");
    EXPECT_EQ(spoken.status, "<Nothing urgent>; <Disk · full>");
    EXPECT_EQ(spoken.footer, "<Warden off>: <Watchdog is not running>");
    EXPECT_EQ(spoken.result, "<reclaimed, free>");
    EXPECT_EQ(spoken.heaviest, "Heaviest processes: browser, 3.42 GB; unnamed process, 0.20 GB");
    EXPECT_EQ(spokenRow({"DISK", 5, "free · held", Ink::good, {}}, words),
              "<disk> 5%, <free, held>");
    EXPECT_EQ(spokenFactor(factor("Load", "−1"), words),
              "<Load>, 1 point lost, <2.8 GB free to use, macOS is under pressure>");
}

TEST(Spoken, TextsAreInTheDesktopsWordsBeforeTheirDotsGo) {
    const Row memory{"MEMORY", 5, "2.8 GB free to use · macOS is comfortable", Ink::good, {}};
    EXPECT_EQ(spokenRow(memory, linuxWords), "Memory 5%, 2.8 GB free to use, Linux is comfortable");
}

TEST(Spoken, TheNameOfAProcessIsSaidAsItIs) {
    const std::string longest(255, 'W');
    for (const std::string& name : {longest, std::string("a · b 3d"), std::string("−12 —")}) {
        EXPECT_EQ(spokenProcess({1, name, "0.40 GB", {}}), name + ", 0.40 GB");
    }
    EXPECT_EQ(spokenName(""), "unnamed process");
}

} // namespace
} // namespace korvel
