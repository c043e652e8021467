// How the new bundle takes the place of the running one.

#include <cerrno>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "update/install_fixture.h"

namespace korvel {
namespace {

using platform::CallLog;
using testing::ElementsAre;

TEST_F(Install, AMoveThatFailsIsToldAndTheRunningBundleComesBack) {
    scriptMoves(Error{std::errc::no_space_on_device, kRunning + "/Contents"}, {});
    expectFailure("Could not replace the app: “Korvel.app” couldn’t be moved: the disk is full.");
    uuids = 0;
    simulated.archive.entries = {"New.app"};
    scriptMoves({}, Error{std::errc::permission_denied, kWork + "/out/New.app"});
    expectFailure("Could not replace the app: “New.app” couldn’t be moved: permission denied.");
    EXPECT_THAT(calls(), testing::Contains("move " + kWork + "/old.app " + kRunning).Times(2));
}

TEST_F(Install, EachErrorOfAMoveHasItsWords) {
    const std::pair<int, const char*> kWords[] = {
        {EACCES, "permission denied"},
        {EPERM, "permission denied"},
        {ENOSPC, "the disk is full"},
        {EDQUOT, "the disk is full"},
        {EROFS, "the disk is read-only"},
        {EEXIST, "something else is already there"},
        {ENOTEMPTY, "something else is already there"},
        {ENOENT, "it or the folder that it should go to does not exist"},
        {ENOTDIR, "it or the folder that it should go to does not exist"},
        {EINVAL, "a folder cannot be moved into itself"},
        {EXDEV, "it would have to go to another disk"},
        {EBUSY, "it is in use"},
        {EIO, "the disk reported an error"},
        {12345, "error 12345"},
    };
    for (const auto& [number, words] : kWords) {
        scriptMoves(Error{static_cast<std::errc>(number), kRunning}, {});
        expectFailure("Could not replace the app: “Korvel.app” couldn’t be moved: " +
                      std::string(words) + ".");
    }
}

TEST_F(Install, ASystemThatDescribesItsErrorsIsQuoted) {
    scriptMoves(Error{std::errc::io_error, kRunning, "The volume is asleep."}, {});
    expectFailure("Could not replace the app: The volume is asleep.");
}

TEST_F(Install, AWayBackThatFailsTooSaysWhereTheOldVersionIs) {
    scriptMoves({}, Error{std::errc::permission_denied, kWork + "/out/Korvel.app"},
                Error{std::errc::no_space_on_device, kWork + "/old.app"});
    install();
    EXPECT_EQ(states.back(), failed("Could not replace the app: “Korvel.app” couldn’t be moved: "
                                    "permission denied. The version that ran is now “" +
                                    kWork + "/old.app”."));
    EXPECT_EQ(simulated.fileManager.folders.count(kWork + "/old.app"), 1U)
        << "the only copy is not removed";
}

TEST_F(Install, OfASystemThatDescribesItsErrorsNothingIsAddedWhereTheWayBackFails) {
    scriptMoves({}, Error{std::errc::io_error, kWork + "/out/Korvel.app", "The volume is asleep."},
                Error{std::errc::io_error, kWork + "/old.app", "It sleeps on."});
    install();
    EXPECT_EQ(states.back(), failed("Could not replace the app: The volume is asleep."));
    EXPECT_EQ(simulated.fileManager.folders.count(kWork + "/old.app"), 1U);
}

TEST_F(Install, WhereTwoNamesCanBeExchangedThereIsNothingToMove) {
    simulated.fileManager.exchanges = true;
    install();
    EXPECT_EQ(states.back(), kReady);
    const CallLog seen = calls();
    const CallLog last(seen.end() - 3, seen.end());
    EXPECT_THAT(last, ElementsAre("flush " + kWork + "/out/Korvel.app",
                                  "exchange " + kWork + "/out/Korvel.app " + kRunning,
                                  "remove " + kWork));
}

TEST_F(Install, WhatCannotBeMadeSafeOnTheDiskIsNotMoved) {
    simulated.fileManager.exchanges = true;
    simulated.fileManager.flushed = Error{std::errc::io_error, kWork + "/out/Korvel.app"};
    expectFailure("Could not replace the app: “Korvel.app” couldn’t be moved: "
                  "the disk reported an error.");
    EXPECT_THAT(calls(), testing::Not(testing::Contains(testing::StartsWith("exchange "))));
}

TEST_F(Install, WhatCouldNotBePutBackAtTheNextLaunchIsNotMovedAway) {
    simulated.fileManager.recorded = Error{std::errc::no_space_on_device, kRunning};
    expectFailure("Could not replace the app: “Korvel.app” couldn’t be moved: the disk is full.");
    EXPECT_THAT(calls(), testing::Not(testing::Contains(testing::StartsWith("move " + kRunning))));
}

} // namespace
} // namespace korvel
