#include "ui/content/content_json.h"

#include <gtest/gtest.h>

#include "base/json_writer.h"
#include "ui/content/popover_content.h"

namespace korvel {
namespace {

using Content = PopoverContent;

std::string jsonOf(const Content& content) {
    JsonWriter json;
    json.beginObject();
    writeContentMembers(json, content);
    json.endObject();
    return json.text();
}

TEST(ContentJson, OfAnEmptyContentEveryKeyIsThere) {
    EXPECT_EQ(
        jsonOf({}),
        R"({"banner":null,"header":{"score":0,"verdict":"","line":"","toggle":""},)"
        R"("breakdown":null,"status":[],"rows":[],"swapHolders":{"button":""},"heaviest":[],)"
        R"("keepAwake":{"remaining":null,"control":""},"update":null,)"
        R"("footer":{"warden":"","wardenTooltip":"","reclaim":"","quit":""},"reclaimResult":null})");
}

TEST(ContentJson, AnEmptyPieceIsThatOfNoReading) {
    Content content;
    content.breakdown.emplace(1);
    content.status = {{}};
    content.rows = {{}};
    content.heaviest = {{}};
    content.update = Content::UpdateLine{};
    EXPECT_EQ(
        jsonOf(content),
        R"({"banner":null,"header":{"score":0,"verdict":"","line":"","toggle":""},)"
        R"("breakdown":[{"name":"","lost":"","barFraction":0,"barColour":"good",)"
        R"("lostColour":"secondary","detail":""}],)"
        R"("status":[{"symbol":"","colour":"good","text":""}],)"
        R"("rows":[{"label":"","pct":0,"percentText":"0%","barFraction":0,"detail":"",)"
        R"("colour":"good","spark":null}],"swapHolders":{"button":""},)"
        R"("heaviest":[{"name":"","size":"","quit":null}],)"
        R"("keepAwake":{"remaining":null,"control":""},)"
        R"("update":{"symbol":null,"text":"","control":null},)"
        R"("footer":{"warden":"","wardenTooltip":"","reclaim":"","quit":""},"reclaimResult":null})");
}

TEST(ContentJson, HasEveryTextInItsPlace) {
    Content content;
    content.banner = {"Updated to 1.1", "Was 1.0", {"One", "Two"}};
    content.header.score = 65;
    content.header.verdict = "Fair";
    content.header.line = "8 cores";
    content.header.toggle = "hide breakdown";
    content.breakdown.emplace();
    content.breakdown->push_back({{}, "Load", "−14", 0.5, Ink::bad, Ink::tertiary, "load 8"});
    content.breakdown->push_back({{}, "CPU", "—", 0, Ink::warn, Ink::primary, "2% busy"});
    content.status = {{"info", Ink::cyan, "Nothing urgent", Ink::secondary}};
    Row cpu{"CPU", 46.5, "load 6", Ink::pink, {}};
    cpu.spark = Spark({{0, 20, 0}, {5, 10, 0}}, Ink::cyan,
                      [](const HistoryPoint& point) { return point.cpu; });
    content.rows = {cpu, {"DISK", 120, "5 GB free", Ink::bad, {}}};
    content.swapHolders.button = "not shown";
    content.swapHolders.holders = {{7, "one", "1.5 GB", Content::QuitButton{"", "Quit it", ""}},
                                   {8, "two", "0.5 GB", {}}};
    content.swapHolders.note = "Quitting one frees its swap";
    content.heaviest = {{7, "one", "2.00 GB", Content::QuitButton{"", "Quit one", ""}}};
    content.keepAwake.remaining = "on for 5m more";
    content.keepAwake.control = "Off";
    content.update = Content::UpdateLine{};
    content.update->symbol = "arrow";
    content.update->text = "Version 2 is available";
    content.update->control = "Update";
    content.footer = {"Warden on", "Watchdog", {}, "Quit"};
    content.footer.reclaim.text = "Clear 4 GB";
    content.reclaimResult = "reclaimed 1 GB";
    EXPECT_EQ(
        jsonOf(content),
        R"({"banner":{"heading":"Updated to 1.1","subline":"Was 1.0","notes":["One","Two"]},)"
        R"("header":{"score":65,"verdict":"Fair","line":"8 cores","toggle":"hide breakdown"},)"
        R"("breakdown":[{"name":"Load","lost":"−14","barFraction":0.5,"barColour":"bad",)"
        R"("lostColour":"tertiary","detail":"load 8"},{"name":"CPU","lost":"—",)"
        R"("barFraction":0,"barColour":"warn","lostColour":"primary","detail":"2% busy"}],)"
        R"("status":[{"symbol":"info","colour":"cyan","text":"Nothing urgent"}],)"
        R"("rows":[{"label":"CPU","pct":46.5,"percentText":"46%","barFraction":0.465,)"
        R"("detail":"load 6","colour":"pink","spark":[[0,0],[44,7]]},)"
        R"({"label":"DISK","pct":120,"percentText":"120%","barFraction":1,)"
        R"("detail":"5 GB free","colour":"bad","spark":null}],)"
        R"("swapHolders":{"holders":[{"name":"one","size":"1.5 GB","quit":"Quit it"},)"
        R"({"name":"two","size":"0.5 GB","quit":null}],"note":"Quitting one frees its swap"},)"
        R"("heaviest":[{"name":"one","size":"2.00 GB","quit":"Quit one"}],)"
        R"("keepAwake":{"remaining":"on for 5m more","control":"Off"},)"
        R"("update":{"symbol":"arrow","text":"Version 2 is available","control":"Update"},)"
        R"("footer":{"warden":"Warden on","wardenTooltip":"Watchdog","reclaim":"Clear 4 GB",)"
        R"("quit":"Quit"},"reclaimResult":"reclaimed 1 GB"})");
}

TEST(ContentJson, TheMenuThatKeepsAwakeIsItsTitles) {
    Content content;
    content.keepAwake.control = "On";
    content.keepAwake.choices = {{"30 minutes", 30}, {"Until I turn it off", std::nullopt}};
    EXPECT_NE(
        jsonOf(content).find(
            R"("keepAwake":{"remaining":null,"control":["30 minutes","Until I turn it off"]})"),
        std::string::npos);
}

} // namespace
} // namespace korvel
