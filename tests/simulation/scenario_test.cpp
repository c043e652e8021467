#include "simulation/scenario.h"

#include <ostream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulation/command_line.h"

namespace korvel::simulation {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// What is wrong with the scenario; empty when nothing is.
std::string complaint(const std::string& json) {
    const auto scenario = readScenario(json);
    return scenario ? std::string() : complaintOf(scenario.error());
}

TEST(Scenario, AnEmptyOneHasTheDefaults) {
    const Scenario scenario = *readScenario("{}");
    EXPECT_EQ(scenario.start, 1700000000.0);
    EXPECT_EQ(scenario.until, std::nullopt);
    EXPECT_EQ(scenario.visibleHeight, 900);
    EXPECT_TRUE(scenario.home.empty());
    EXPECT_TRUE(scenario.events.empty());
}

TEST(Scenario, KeysMayStandInAnyOrder) {
    const Scenario scenario = *readScenario(R"({"events": [{"set": {}, "at": 1}, {"do": "terminate",
        "at": 1}], "until": 3.5, "home": {"a": "b", "c/d": ""}, "start": 12})");
    EXPECT_EQ(scenario.start, 12);
    EXPECT_EQ(scenario.until, 3.5);
    EXPECT_EQ(scenario.home.at("a"), "b");
    EXPECT_EQ(scenario.home.at("c/d"), "");
    EXPECT_EQ(scenario.events.size(), 2U);
}

TEST(Scenario, TheScreenHasAHeightOrIsNotThere) {
    EXPECT_EQ(readScenario(R"({"screen": {"visibleHeight": 400.5}})")->visibleHeight, 400.5);
    EXPECT_EQ(readScenario(R"({"screen": {}})")->visibleHeight, 900);
    EXPECT_EQ(readScenario(R"({"screen": null})")->visibleHeight, std::nullopt);
}

TEST(Scenario, EveryKeyThatIsDescribedIsAccepted) {
    EXPECT_EQ(complaint(R"({
        "start": 1, "until": 2, "home": {"file": "text"},
        "defaults": {"awakeOn": true, "lastNotifiedScore": 60, "lastNotifiedAt": 1.5, "v": "x"},
        "bundle": {"version": "1.0.0", "build": "100", "path": "/Applications/Korvel.app",
                   "writable": true, "managed": true, "notes": "One"},
        "machine": {"physicalMemory": 1, "processorCount": 1, "thermalState": 0, "pageSize": 4096,
            "vm": {"free_count": 1, "active_count": 1, "inactive_count": 1, "wire_count": 1,
                   "speculative_count": 1, "purgeable_count": 1, "compressor_page_count": 1,
                   "swapouts": 18446744073709551615},
            "cpuTicks": [1, 2, 3, 4294967295], "pressureLevel": 1,
            "swap": {"xsu_total": 1, "xsu_avail": 1, "xsu_used": 1},
            "volume": {"f_bsize": 1, "f_blocks": 1, "f_bfree": 1, "f_bavail": 1},
            "load": [1, 2.5, 3], "bootTime": 1,
            "processes": [{"pid": 0}, {"pid": 1, "name": "a", "phys_footprint": 1, "vmmap": "x"},
                          {"pid": 2, "phys_footprint": null, "vmmap": null}],
            "agents": "text", "ownPid": 1},
        "screen": {"visibleHeight": 900},
        "feed": {"status": 200, "body": "{}", "delay": 0.5},
        "events": [{"at": 0, "set": {"vm": null, "cpuTicks": null, "pressureLevel": null,
            "swap": null, "volume": null, "load": null, "bootTime": null, "processes": null,
            "agents": null}}, {"at": 0, "do": "togglePopover"}, {"at": 0.5, "do": "clickOutside"},
            {"at": 1, "do": "terminate"}]})"),
              "");
    EXPECT_EQ(complaint(R"({"screen": null, "feed": {"error": true}})"), "");
}

TEST(Scenario, AnErrorNamesTheValueAndWhatItShouldBe) {
    const auto error = [](const char* json) { return readScenario(json).error(); };
    EXPECT_EQ(error(R"({"machine": {"processes": [{"pid": 1}, {}]}})"),
              (Error{ScenarioFault::missing, "machine.processes[1].pid"}));
    EXPECT_EQ(error(R"({"machine": {"processorCount": 0}})"),
              (Error{ScenarioFault::notAWholeNumber, "machine.processorCount", "1 to 2147483647"}));
    EXPECT_EQ(error("[]"), (Error{ScenarioFault::notAnObject, ""}));
    EXPECT_EQ(error("{").code, ScenarioFault::notJson);
    EXPECT_EQ(error("\xef\xbb\xbf{}").code, ScenarioFault::notJson);
    EXPECT_EQ(loadScenario("/nowhere").error(), (Error{ScenarioFault::unreadable, "/nowhere"}));
}

struct BadCase {
    const char* name;
    const char* json;
    const char* complaint;
};

std::ostream& operator<<(std::ostream& stream, const BadCase& row) {
    return stream << row.name;
}

class BadScenario : public testing::TestWithParam<BadCase> {};

TEST_P(BadScenario, IsRefusedWithTheNameOfTheKey) {
    EXPECT_EQ(complaint(GetParam().json), GetParam().complaint);
}

std::string rowName(const testing::TestParamInfo<BadCase>& row) {
    return row.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    UnknownKeys, BadScenario,
    testing::Values(
        BadCase{"top", R"({"untill": 5})", R"(unknown key "untill")"},
        BadCase{"emptyName", R"({"": 5})", R"(unknown key "")"},
        BadCase{"wrongCase", R"({"Until": 5})", R"(unknown key "Until")"},
        BadCase{"lineBreak", R"({"a\nb": 5})", R"(unknown key "a\nb")"},
        BadCase{"bundle", R"({"bundle": {"name": "x"}})", R"(unknown key "bundle.name")"},
        BadCase{"screen", R"({"screen": {"height": 1}})", R"(unknown key "screen.height")"},
        BadCase{"feed", R"({"feed": {"url": "x"}})", R"(unknown key "feed.url")"},
        BadCase{"machine", R"({"machine": {"memory": 1}})", R"(unknown key "machine.memory")"},
        BadCase{"vm", R"({"machine": {"vm": {"free": 1}}})", R"(unknown key "machine.vm.free")"},
        BadCase{"swap", R"({"machine": {"swap": {"used": 1}}})",
                R"(unknown key "machine.swap.used")"},
        BadCase{"volume", R"({"machine": {"volume": {"f_free": 1}}})",
                R"(unknown key "machine.volume.f_free")"},
        BadCase{"process", R"({"machine": {"processes": [{"pid": 1}, {"pid": 2, "gb": 1}]}})",
                R"(unknown key "machine.processes[1].gb")"},
        BadCase{"event", R"({"events": [{"at": 1, "set": {}}, {"at": 2, "when": 1}]})",
                R"(unknown key "events[1].when")"},
        BadCase{"set", R"({"events": [{"at": 1, "set": {"cpu": 1}}]})",
                R"(unknown key "events[0].set.cpu")"},
        BadCase{"setVm", R"({"events": [{"at": 1, "set": {"vm": {"x": 1}}}]})",
                R"(unknown key "events[0].set.vm.x")"},
        BadCase{"actionTakesNone", R"({"events": [{"at": 1, "do": "togglePopover", "pid": 1}]})",
                R"(unknown key "events[0].pid")"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    WrongTypes, BadScenario,
    testing::Values(
        BadCase{"start", R"({"start": "now"})", R"("start" must be a number)"},
        BadCase{"until", R"({"until": null})", R"("until" must be a number)"},
        BadCase{"untilNegative", R"({"until": -1})", R"("until" must not be negative)"},
        BadCase{"home", R"({"home": []})", R"("home" must be an object)"},
        BadCase{"homeFile", R"({"home": {"a": 1}})", R"("home.a" must be a string)"},
        BadCase{"defaults", R"({"defaults": 1})", R"("defaults" must be an object)"},
        BadCase{"defaultsValue", R"({"defaults": {"a": null}})",
                R"("defaults.a" must be a number, a string, true or false)"},
        BadCase{"bundleVersion", R"({"bundle": {"version": 1}})",
                R"("bundle.version" must be a string)"},
        BadCase{"bundleWritable", R"({"bundle": {"writable": 1}})",
                R"("bundle.writable" must be true or false)"},
        BadCase{"bundleManaged", R"({"bundle": {"managed": "apt"}})",
                R"("bundle.managed" must be true or false)"},
        BadCase{"bundleNotes", R"({"bundle": {"notes": []}})",
                R"("bundle.notes" must be a string)"},
        BadCase{"screen", R"({"screen": 900})", R"("screen" must be an object)"},
        BadCase{"screenHeight", R"({"screen": {"visibleHeight": "a"}})",
                R"("screen.visibleHeight" must be a number)"},
        BadCase{"feedDelay", R"({"feed": {"delay": -1}})", R"("feed.delay" must not be negative)"},
        BadCase{"machine", R"({"machine": null})", R"("machine" must be an object)"},
        BadCase{
            "memory", R"({"machine": {"physicalMemory": -1}})",
            R"("machine.physicalMemory" must be a whole number from 0 to 18446744073709551615)"},
        BadCase{
            "memoryNull", R"({"machine": {"physicalMemory": null}})",
            R"("machine.physicalMemory" must be a whole number from 0 to 18446744073709551615)"},
        BadCase{"cores", R"({"machine": {"processorCount": 0}})",
                R"("machine.processorCount" must be a whole number from 1 to 2147483647)"},
        BadCase{"thermal", R"({"machine": {"thermalState": 1.5}})",
                R"("machine.thermalState" must be a whole number from -2147483648 to 2147483647)"},
        BadCase{"vm", R"({"machine": {"vm": 1}})", R"("machine.vm" must be an object)"},
        BadCase{"vmTooLarge", R"({"machine": {"vm": {"free_count": 4294967296}}})",
                R"("machine.vm.free_count" must be a whole number from 0 to 4294967295)"},
        BadCase{"vmFieldNull", R"({"machine": {"vm": {"free_count": null}}})",
                R"("machine.vm.free_count" must be a whole number from 0 to 4294967295)"},
        BadCase{"ticks", R"({"machine": {"cpuTicks": 1}})",
                R"("machine.cpuTicks" must be an array)"},
        BadCase{"ticksTooFew", R"({"machine": {"cpuTicks": [1, 2, 3]}})",
                R"("machine.cpuTicks" must have 4 elements)"},
        BadCase{"ticksElement", R"({"machine": {"cpuTicks": [1, 2, "3", 4]}})",
                R"("machine.cpuTicks[2]" must be a whole number from 0 to 4294967295)"},
        BadCase{"load", R"({"machine": {"load": [1, 2, 3, 4]}})",
                R"("machine.load" must have 3 elements)"},
        BadCase{"processes", R"({"machine": {"processes": {}}})",
                R"("machine.processes" must be an array)"},
        BadCase{"process", R"({"machine": {"processes": [1]}})",
                R"("machine.processes[0]" must be an object)"},
        BadCase{
            "processPid", R"({"machine": {"processes": [{"pid": "1"}]}})",
            R"("machine.processes[0].pid" must be a whole number from -2147483648 to 2147483647)"},
        BadCase{"processWithoutPid", R"({"machine": {"processes": [{"name": "a"}]}})",
                R"("machine.processes[0].pid" is missing)"},
        BadCase{"agents", R"({"machine": {"agents": []}})", R"("machine.agents" must be a string)"},
        BadCase{"events", R"({"events": {}})", R"("events" must be an array)"},
        BadCase{"event", R"({"events": [1]})", R"("events[0]" must be an object)"},
        BadCase{"eventAt", R"({"events": [{"at": "1", "set": {}}]})",
                R"("events[0].at" must be a number)"},
        BadCase{"eventWithoutAt", R"({"events": [{"set": {}}]})", R"("events[0].at" is missing)"},
        BadCase{"eventBeforeLaunch", R"({"events": [{"at": -1, "set": {}}]})",
                R"("events[0].at" must not be negative)"},
        BadCase{"eventOutOfOrder", R"({"events": [{"at": 2, "set": {}}, {"at": 1, "set": {}}]})",
                R"("events[1].at" is earlier than the event before it)"},
        BadCase{"eventWithoutForm", R"({"events": [{"at": 1}]})",
                R"("events[0]" does nothing: it has neither "set" nor "do")"},
        BadCase{"eventOfTwoForms", R"({"events": [{"at": 1, "set": {}, "do": "terminate"}]})",
                R"("events[0].do" is a second form of one event)"},
        BadCase{"do", R"({"events": [{"at": 1, "do": 1}]})", R"("events[0].do" must be a string)"},
        BadCase{"doUnknown", R"({"events": [{"at": 1, "do": "jump"}]})",
                R"("events[0].do" is no known action: "jump")"},
        BadCase{"set", R"({"events": [{"at": 1, "set": []}]})",
                R"("events[0].set" must be an object)"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    Updates, BadScenario,
    testing::Values(
        BadCase{"actionWithAKeyTooMany",
                R"({"events": [{"at": 1, "do": "checkForUpdates", "pid": 7}]})",
                R"(unknown key "events[0].pid")"},
        BadCase{"feedKey", R"({"events": [{"at": 1, "feed": {"code": 200}}]})",
                R"(unknown key "events[0].feed.code")"},
        BadCase{"feedDelay", R"({"feed": {"delay": -1}})", R"("feed.delay" must not be negative)"},
        BadCase{"archiveKey", R"({"events": [{"at": 1, "archive": {"size": 1}}]})",
                R"(unknown key "events[0].archive.size")"},
        BadCase{"archiveMoves", R"({"events": [{"at": 1, "archive": {"moves": [null]}}]})",
                R"("events[0].archive.moves" must have 2 elements)"},
        BadCase{"bundleBuild", R"({"bundle": {"build": 100}})",
                R"("bundle.build" must be a string)"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    Remedies, BadScenario,
    testing::Values(
        BadCase{"minutesMissing", R"({"events": [{"at": 1, "do": "enableAwake"}]})",
                R"("events[0].minutes" is missing)"},
        BadCase{
            "minutesOfText", R"({"events": [{"at": 1, "do": "enableAwake", "minutes": "5"}]})",
            R"("events[0].minutes" must be a whole number from -70368744177664 to 70368744177664)"},
        BadCase{"scriptKey", R"({"events": [{"at": 1, "script": {"text": "x"}}]})",
                R"(unknown key "events[0].script.text")"},
        BadCase{"scriptSeconds", R"({"events": [{"at": 1, "script": {"seconds": -1}}]})",
                R"("events[0].script.seconds" must not be negative)"},
        BadCase{"powerKey", R"({"events": [{"at": 1, "power": {"lid": true}}]})",
                R"(unknown key "events[0].power.lid")"},
        BadCase{"powerNumber", R"({"events": [{"at": 1, "power": {"display": 1}}]})",
                R"("events[0].power.display" must be true or false)"},
        BadCase{"setDefaultsArray", R"({"events": [{"at": 1, "setDefaults": {"a": []}}]})",
                R"("events[0].setDefaults.a" must be a number, a string, true or false)"},
        BadCase{"defaultsNull", R"({"defaults": {"a": null}})",
                R"("defaults.a" must be a number, a string, true or false)"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    WeirdJson, BadScenario,
    testing::Values(
        BadCase{"array", "[]", "the scenario must be an object"},
        BadCase{"number", "5", "the scenario must be an object"},
        BadCase{"null", "null", "the scenario must be an object"},
        BadCase{"duplicateKey", R"({"until": 1, "until": 1})", R"("until" is given twice)"},
        BadCase{"duplicateDeepKey", R"({"machine": {"vm": {"free_count": 1, "free_count": 2}}})",
                R"("machine.vm.free_count" is given twice)"}),
    rowName);

TEST(Scenario, WhatIsNoJsonIsRefused) {
    for (const char* json :
         {"", " \n", "{", "{} {}", "{\"until\": 1,}", "{until: 1}", "nul", "{\"start\": 1e999}",
          "{\"home\": {\"a\": \"\xff\"}}", "\xef\xbb\xbf"}) {
        EXPECT_THAT(complaint(json), StartsWith("no valid JSON: ")) << json;
        EXPECT_THAT(complaint(json), testing::Not(HasSubstr("\n"))) << json;
    }
}

TEST(Scenario, ANumberWithAZeroByteAfterItIsRefused) {
    EXPECT_THAT(complaint(std::string("{}\0", 3)), StartsWith("no valid JSON: "));
}

TEST(Scenario, DeepNestingIsRefusedNotFollowed) {
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_THAT(complaint(deep), StartsWith("no valid JSON: "));
    EXPECT_EQ(complaint("{\"until\": " + std::string(500, '[') + std::string(500, ']') + "}"),
              "\"until\" must be a number");
}

} // namespace
} // namespace korvel::simulation
