#include "platform/macos/macos_processes.h"

#include <limits>

#include "platform/macos/cases.h"

namespace korvel::standin {
namespace {

using platform::MacosProcesses;
using Pids = std::vector<std::int32_t>;

void secondListingHasRoomFor32More() {
    script->firstListing = 10;
    script->secondListing = 3;
    script->pids = {3, 1, 2};
    MacosProcesses().listAllPids();
    EXPECT_EQUAL(script->calls, {"proc_listallpids null size 0", "proc_listallpids size 168"});
}

void listingKeepsTheSystemsOrderAndTheZero() {
    script->firstListing = 4;
    script->secondListing = 4;
    script->pids = {501, 0, 1, 77};
    EXPECT_EQUAL(MacosProcesses().listAllPids(), {501, 0, 1, 77});
}

void firstListingOfNoneOrFailingEndsIt() {
    for (const int result : {0, -1}) {
        script->calls.clear();
        script->firstListing = result;
        script->secondListing = 1;
        script->pids = {1};
        EXPECT_EQUAL(MacosProcesses().listAllPids(), Pids());
        EXPECT_EQUAL(script->calls, {"proc_listallpids null size 0"});
    }
}

void secondListingOfNoneOrFailingIsEmpty() {
    for (const int result : {0, -1}) {
        script->firstListing = 5;
        script->secondListing = result;
        script->pids = {1, 2, 3};
        EXPECT_EQUAL(MacosProcesses().listAllPids(), Pids());
    }
}

void aShortCountIsTheLengthOfTheList() {
    script->firstListing = 100;
    script->secondListing = 2;
    script->pids = {9, 8, 7, 6};
    EXPECT_EQUAL(MacosProcesses().listAllPids(), {9, 8});
}

void processesThatStartedMeanwhileAreListed() {
    script->firstListing = 2;
    script->secondListing = 34;
    for (int pid = 1; pid <= 34; ++pid) {
        script->pids.push_back(pid);
    }
    EXPECT_EQUAL(MacosProcesses().listAllPids(), script->pids);
}

void aCountBeyondTheRoomIsCutToIt() {
    script->firstListing = 1;
    script->secondListing = 1000;
    script->pids = {5};
    const Pids pids = MacosProcesses().listAllPids();
    EXPECT_EQUAL(pids.size(), 33U);
    EXPECT_EQUAL(pids.front(), 5);
}

void anImpossibleFirstCountEndsIt() {
    script->firstListing = std::numeric_limits<int>::max();
    EXPECT_EQUAL(MacosProcesses().listAllPids(), Pids());
    EXPECT_EQUAL(script->calls.size(), 1U);
}

void footprintIsThatOfRusageV2() {
    script->footprints = {{42, std::uint64_t{9} << 30}};
    EXPECT_EQUAL(MacosProcesses().physFootprint(42), std::uint64_t{9} << 30);
    EXPECT_EQUAL(script->calls, {"proc_pid_rusage 42 flavor 2"});
}

void aProcessThatVanishedHasNoFootprint() {
    script->footprints = {{42, 1}};
    EXPECT(!MacosProcesses().physFootprint(43));
}

void nameIsReadWith256BytesOfRoom() {
    script->names = {{7, "launchd"}};
    EXPECT_EQUAL(MacosProcesses().name(7), "launchd");
    EXPECT_EQUAL(script->calls, {"proc_name 7 size 256"});
}

void nameIsRawBytesUpToTheFirstZero() {
    script->names = {{7, std::string("a\xff\xc3\0b", 5)}};
    EXPECT_EQUAL(MacosProcesses().name(7), "a\xff\xc3");
}

void nameThatCannotBeReadIsEmpty() {
    EXPECT_EQUAL(MacosProcesses().name(7), "");
}

void nameWithoutAZeroStaysWithinTheBuffer() {
    script->names = {{7, std::string(256, 'x')}};
    EXPECT_EQUAL(MacosProcesses().name(7), std::string(255, 'x'));
}

void terminateSendsSigterm() {
    MacosProcesses().terminate(501);
    EXPECT_EQUAL(script->calls, {"kill 501 signal 15"});
}

void terminateThatFailsIsSilent() {
    script->killResult = -1;
    MacosProcesses().terminate(501);
    EXPECT_EQUAL(script->calls, {"kill 501 signal 15"});
}

void terminateSparesWholeGroups() {
    for (const std::int32_t pid : {0, -1, -501}) {
        MacosProcesses().terminate(pid);
    }
    EXPECT_EQUAL(script->calls, Calls());
}

void startTimeIsThatOfRusageV2() {
    script->footprints = {{42, 1}};
    script->startTime = 123456789;
    EXPECT_EQUAL(MacosProcesses().startTime(42), 123456789U);
    EXPECT(!MacosProcesses().startTime(43));
}

void startTimeIsKeptFromTheFootprintUntilTheNextListing() {
    script->footprints = {{42, 1}};
    script->startTime = 5;
    MacosProcesses processes;
    processes.physFootprint(42);
    script->startTime = 6;
    EXPECT_EQUAL(processes.startTime(42), 5U);
    EXPECT_EQUAL(script->calls.size(), 1U);
    processes.listAllPids();
    EXPECT_EQUAL(processes.startTime(42), 6U);
}

void aSuccessorIsSparedWhateverWasKept() {
    script->footprints = {{42, 1}};
    script->startTime = 5;
    MacosProcesses processes;
    processes.physFootprint(42);
    script->startTime = 6;
    script->calls.clear();
    processes.terminateIfSame(42, 5);
    EXPECT_EQUAL(script->calls, {"proc_pid_rusage 42 flavor 2"});
}

void onlyTheProcessThatWasListedIsAskedToEnd() {
    script->footprints = {{501, 1}};
    script->startTime = 7;
    MacosProcesses().terminateIfSame(501, 7);
    EXPECT_EQUAL(script->calls, {"proc_pid_rusage 501 flavor 2", "kill 501 signal 15"});
}

void anotherProcessOfThePidIsSpared() {
    script->footprints = {{501, 1}};
    script->startTime = 8;
    MacosProcesses().terminateIfSame(501, 7);
    MacosProcesses().terminateIfSame(501, std::nullopt);
    MacosProcesses().terminateIfSame(502, 7);
    MacosProcesses().terminateIfSame(502, std::nullopt);
    EXPECT_EQUAL(script->calls, {"proc_pid_rusage 501 flavor 2", "proc_pid_rusage 502 flavor 2"});
}

void ownPidIsGetpids() {
    EXPECT_EQUAL(MacosProcesses().currentProcessIdentifier(), 4242);
}

#define CASE(name)                                                                                 \
    Case {                                                                                         \
#name, name                                                                                \
    }

constexpr Case kCases[] = {
    CASE(secondListingHasRoomFor32More),
    CASE(listingKeepsTheSystemsOrderAndTheZero),
    CASE(firstListingOfNoneOrFailingEndsIt),
    CASE(secondListingOfNoneOrFailingIsEmpty),
    CASE(aShortCountIsTheLengthOfTheList),
    CASE(processesThatStartedMeanwhileAreListed),
    CASE(aCountBeyondTheRoomIsCutToIt),
    CASE(anImpossibleFirstCountEndsIt),
    CASE(footprintIsThatOfRusageV2),
    CASE(aProcessThatVanishedHasNoFootprint),
    CASE(nameIsReadWith256BytesOfRoom),
    CASE(nameIsRawBytesUpToTheFirstZero),
    CASE(nameThatCannotBeReadIsEmpty),
    CASE(nameWithoutAZeroStaysWithinTheBuffer),
    CASE(terminateSendsSigterm),
    CASE(terminateThatFailsIsSilent),
    CASE(terminateSparesWholeGroups),
    CASE(startTimeIsThatOfRusageV2),
    CASE(startTimeIsKeptFromTheFootprintUntilTheNextListing),
    CASE(aSuccessorIsSparedWhateverWasKept),
    CASE(onlyTheProcessThatWasListedIsAskedToEnd),
    CASE(anotherProcessOfThePidIsSpared),
    CASE(ownPidIsGetpids),
};

} // namespace

Cases processCases() {
    return {kCases, std::size(kCases)};
}

} // namespace korvel::standin
