#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/services.h"
#include "update/update_printing.h"
#include "update/updater.h"

namespace korvel {

namespace {

using platform::BundleFault;
using platform::CallLog;
using testing::ElementsAre;
using testing::IsEmpty;
using State = Updater::State;

const std::string kRunning = "/Applications/Korvel.app";
const std::string kWork = "/tmp/korvel-update-00000000-0000-0001-0000-000000000000";
const State kDownloading = update_state::Downloading{};
const State kInstalling = update_state::Installing{};
const State kReady = update_state::ReadyToRelaunch{};

State failed(const std::string& message) {
    return update_state::Failed{message};
}

class Install : public testing::Test {
  protected:
    Install() {
        simulated.fileManager.folders.insert(kRunning);
        simulated.http.archive = platform::SimulatedHttp::Answer{200, "zipped", 0};
        simulated.digest.digest = [](std::string_view bytes) {
            platform::Sha256 digest{};
            digest[0] = 0xab;
            digest[31] = static_cast<std::uint8_t>(bytes.size());
            return digest;
        };
        updater->pending = release();
        updater->state.didSet = [this] { states.push_back(*updater->state); };
        simulated.logTo(log);
    }

    static Release release(const std::string& notes = "- One") {
        return {"2.0", 101,   "https://host/a.zip", "ab" + std::string(60, '0') + "06",
                notes, "13.0"};
    }

    void install() {
        updater->installPending();
        simulated.runLoop.advance(10);
    }

    /// What was done to the file system and by the tools, without the questions.
    CallLog calls() const {
        CallLog seen;
        for (const std::string& call : log) {
            for (const char* verb :
                 {"download ", "createDirectory ", "read ", "sha256 ", "unpack ", "contents ",
                  "describe ", "verifyStrictly ", "reveal ", "load ", "flush ", "exchange ",
                  "recordReplacement ", "move ", "remove "}) {
                if (call.starts_with(verb)) {
                    seen.push_back(call);
                }
            }
        }
        return seen;
    }

    using Move = Status<std::errc>;

    /// What comes of the moves of the swap, and of the way back.
    void scriptMoves(const Move& first, const Move& second, const Move& back = {}) {
        simulated.fileManager.onMove = [=](const std::string& from, const std::string& to) {
            if (from == kRunning) {
                return first;
            }
            return to != kRunning ? Move() : from == kWork + "/old.app" ? back : second;
        };
    }

    void expectFailure(const std::string& message) {
        install();
        ASSERT_FALSE(states.empty());
        EXPECT_EQ(states.back(), failed(message));
        expectNothingChanged();
    }
    void expectNothingChanged() {
        EXPECT_EQ(simulated.fileManager.folders, std::set<std::string>{kRunning});
        EXPECT_THAT(simulated.files.contents, IsEmpty());
        EXPECT_FALSE(simulated.defaults.has("pendingReleaseNotes"));
        EXPECT_EQ(updater->pending, release());
    }

    CallLog log;
    platform::SimulatedServices simulated;
    std::uint64_t uuids = 0;
    std::shared_ptr<Updater> updater = std::make_shared<Updater>(simulated.services(), [this] {
        return Uuid{{++uuids, 0}};
    });
    std::vector<State> states; ///< that were set
};

TEST_F(Install, WithNothingPendingNothingHappens) {
    updater->pending.reset();
    install();
    EXPECT_THAT(states, IsEmpty());
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(Install, GoesThroughItsStepsInOrder) {
    install();
    EXPECT_THAT(states, ElementsAre(kDownloading, kInstalling, kReady));
    EXPECT_THAT(
        calls(),
        ElementsAre("createDirectory " + kWork, "download https://host/a.zip",
                    "move /tmp/download " + kWork + "/update.zip", "read " + kWork + "/update.zip",
                    "sha256 " + kWork + "/update.zip", "createDirectory " + kWork + "/out",
                    "unpack " + kWork + "/update.zip " + kWork + "/out",
                    "contents " + kWork + "/out", "describe " + kWork + "/out/Korvel.app",
                    "verifyStrictly " + kWork + "/out/Korvel.app 101",
                    "load " + kWork + "/out/Korvel.app", "flush " + kWork + "/out/Korvel.app",
                    "exchange " + kWork + "/out/Korvel.app " + kRunning,
                    "recordReplacement " + kWork + " " + kRunning,
                    "move " + kRunning + " " + kWork + "/old.app",
                    "move " + kWork + "/out/Korvel.app " + kRunning, "remove " + kWork));
    EXPECT_EQ(simulated.fileManager.folders, std::set<std::string>{kRunning})
        << "the old one has gone with the folder of the work";
    EXPECT_EQ(updater->pending, release());
}

TEST_F(Install, NotesAreHandedOverBeforeTheStateSaysReady) {
    for (const char* notes : {"- One", ""}) {
        updater->pending = release(notes);
        simulated.defaults.values.erase("pendingReleaseNotes");
        bool handedOver = false;
        updater->state.didSet = [&] {
            handedOver = *updater->state == kReady && simulated.defaults.has("pendingReleaseNotes");
        };
        install();
        EXPECT_TRUE(handedOver);
        EXPECT_EQ(std::get<std::string>(simulated.defaults.values["pendingReleaseNotes"]), notes);
    }
}

TEST_F(Install, WithoutAWholeDownloadItEnds) {
    const std::optional<platform::SimulatedHttp::Answer> kAnswers[] = {
        std::nullopt,   {{404, "zipped", 0}}, {{500, "zipped", 0}}, {{206, "zipped", 0}},
        {{204, "", 0}}, {{301, "zipped", 0}}, {{199, "zipped", 0}},
    };
    for (const auto& answer : kAnswers) {
        simulated.http.archive = answer;
        states.clear();
        expectFailure("Download failed");
        EXPECT_THAT(states, ElementsAre(kDownloading, failed("Download failed")));
    }
}

TEST_F(Install, ADownloadThatCannotBeMovedCannotBeRead) {
    simulated.fileManager.onMove = [](const std::string& from, const auto&) {
        return Error{std::errc::no_space_on_device, from};
    };
    expectFailure("Could not read the download");
    EXPECT_THAT(states,
                ElementsAre(kDownloading, kInstalling, failed("Could not read the download")));
}

TEST_F(Install, ADownloadThatCannotBeReadEndsIt) {
    simulated.files.unreadable.insert(kWork + "/update.zip");
    expectFailure("Could not read the download");
}

TEST_F(Install, AFolderThatCannotBeMadeLeavesNothingToRead) {
    simulated.fileManager.creates = false;
    expectFailure("Could not read the download");
}

TEST_F(Install, TheDigestIsComparedExactly) {
    const std::string kMessage = "Update failed its integrity check";
    for (const std::string& digest :
         {std::string(), std::string(64, '0'), "AB" + std::string(60, '0') + "06",
          "ab" + std::string(60, '0') + "06 ", "ab" + std::string(60, '0')}) {
        updater->pending->sha256 = digest;
        states.clear();
        install();
        EXPECT_THAT(states, ElementsAre(kDownloading, kInstalling, failed(kMessage))) << digest;
    }
    for (const std::string& call : log) {
        EXPECT_FALSE(call.starts_with("unpack ")) << "nothing is unpacked before it is known";
    }
}

TEST_F(Install, WhatCannotBeUnpackedEndsBeforeItsSignatureIsLookedAt) {
    simulated.archive.unpacked = Error{platform::ArchiveFault::damaged, "Korvel.app/Contents"};
    expectFailure("Update could not be unpacked");
    for (const std::string& call : log) {
        EXPECT_FALSE(call.starts_with("describe "));
    }
}

TEST_F(Install, WithoutABundleInItItCouldNotBeUnpacked) {
    const std::vector<std::vector<std::string>> kEntries = {
        {}, {"Korvel"}, {"Korvel.APP"}, {"Korvel.app.zip"}, {"app"}, {".apps", "a.app "}};
    for (const auto& entries : kEntries) {
        simulated.archive.entries = entries;
        states.clear();
        expectFailure("Update could not be unpacked");
    }
}

TEST_F(Install, TheFirstBundleOfTheListingIsTakenAsListed) {
    simulated.archive.entries = {"readme", "Zeta.app", "Alpha.app"};
    install();
    EXPECT_EQ(states.back(), kReady);
    EXPECT_THAT(calls(), testing::Contains("describe " + kWork + "/out/Zeta.app"));
    EXPECT_THAT(calls(), testing::Contains("move " + kWork + "/out/Zeta.app " + kRunning));
}

TEST_F(Install, TheSignatureIsTheTeamsAndStrict) {
    const std::string kMessage = "Update is not signed by Oxbrook; refusing to install";
    const struct {
        std::optional<std::string> description;
        bool strict;
        bool accepted;
    } cases[] = {
        {std::nullopt, true, false},
        {"", true, false},
        {"TeamIdentifier=OTHERTEAM1\n", true, false},
        {"TeamIdentifier=7qx4d1k9wb\n", true, false},
        {"TeamIdentifier= 7QX4D1K9WB\n", true, false},
        {"7QX4D1K9WB\n", true, false},
        {"TeamIdentifier=7QX4D1K9WB\n", false, false},
        {"TeamIdentifier=7QX4D1K9WB", true, true},
        {"Executable=/x\nTeamIdentifier=7QX4D1K9WBZ\nSealed\n", true, true}, // by its beginning
    };
    for (const auto& row : cases) {
        simulated.codeSignature.description = row.description;
        simulated.codeSignature.verified =
            row.strict ? Status<BundleFault>() : Error{BundleFault::changed, "Contents/x"};
        states.clear();
        install();
        EXPECT_EQ(states.back(), row.accepted ? kReady : failed(kMessage))
            << row.description.value_or("none");
    }
}

TEST_F(Install, OfAnUnsignedBundleNothingIsVerifiedOrWritten) {
    simulated.codeSignature.description.reset();
    simulated.bundle.writable = false;
    expectFailure("Update is not signed by Oxbrook; refusing to install");
    for (const std::string& call : log) {
        EXPECT_FALSE(call.starts_with("verifyStrictly "));
    }
    EXPECT_THAT(simulated.workspace.revealed, IsEmpty());
}

TEST_F(Install, InAFolderThatCannotBeWrittenTheNewBundleIsShown) {
    const std::pair<std::string, std::string> kPlaces[] = {
        {"/Applications/Korvel.app", "Applications"},
        {"/Users/a b/My \"Tools\"/Korvel.app", "My \"Tools\""},
        {"/Korvel.app", "/"},
    };
    for (const auto& [path, name] : kPlaces) {
        simulated.bundle.location = path;
        simulated.bundle.writable = false;
        simulated.workspace.revealed.clear();
        uuids = 0;
        states.clear();
        expectFailure("Can't write to " + name + ". The new version is in Finder; drag it over.");
        EXPECT_THAT(simulated.workspace.revealed, ElementsAre(kWork + "/out/Korvel.app"));
        EXPECT_THAT(calls().back(), "remove " + kWork) << "what is shown goes, too";
    }
}

TEST_F(Install, WhatDoesNotLoadHereIsNotPutInPlace) {
    simulated.programLoader.loads = Error{platform::LoadFault::libraryMissing, "libfmt.so.9"};
    expectFailure("Could not replace the app: “Korvel.app” can’t run here: the library "
                  "libfmt.so.9 is missing.");
    EXPECT_THAT(states.size(), 3U);
    EXPECT_THAT(calls(),
                testing::Not(testing::Contains("move " + kRunning + " " + kWork + "/old.app")));
}

TEST_F(Install, WhereNothingCanBePutInPlaceNothingIsTriedToLoad) {
    simulated.programLoader.loads = Error{platform::LoadFault::otherProcessor};
    simulated.bundle.writable = false;
    expectFailure("Can't write to Applications. The new version is in Finder; drag it over.");
    EXPECT_THAT(calls(), testing::Not(testing::Contains("load " + kWork + "/out/Korvel.app")));
}

TEST_F(Install, TheFolderIsForTheRunningBundleWhereThatCanBeReplaced) {
    install();
    simulated.bundle.writable = false;
    install();
    EXPECT_THAT(simulated.fileManager.places, ElementsAre(kRunning, ""));
}

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

TEST_F(Install, TheBuildThatWasInstalledIsToldToTheSignatures) {
    simulated.codeSignature.verified = Error{BundleFault::changed, "Contents/x"};
    install();
    EXPECT_THAT(simulated.codeSignature.builds, IsEmpty());
    simulated.codeSignature.verified = {};
    install();
    EXPECT_THAT(simulated.codeSignature.builds, ElementsAre(101));
}

TEST_F(Install, AtTheEndOfTheProgramNoFolderOfADownloadStays) {
    simulated.http.archive->delay = 5;
    updater->installPending();
    updater->installPending();
    simulated.runLoop.advance(1);
    ASSERT_EQ(simulated.fileManager.folders.size(), 3U);
    updater->abandon();
    EXPECT_EQ(simulated.fileManager.folders, std::set<std::string>{kRunning});
}

TEST_F(Install, AReleaseThatIsReplacedMeanwhileIsNotMixedIn) {
    simulated.http.archive->delay = 5;
    updater->installPending();
    simulated.runLoop.advance(1);
    updater->pending = Release{"3.0", 300, "https://host/c.zip", "00", "- Three", "13.0"};
    simulated.runLoop.advance(5);
    EXPECT_EQ(states.back(), kReady);
    EXPECT_THAT(calls(), testing::Contains("verifyStrictly " + kWork + "/out/Korvel.app 101"));
    EXPECT_EQ(simulated.defaults.string("pendingReleaseNotes"), "- One");
}

TEST_F(Install, TwoAtOnceHaveAFolderEach) {
    simulated.http.archive->delay = 5;
    updater->installPending();
    updater->installPending();
    EXPECT_EQ(simulated.fileManager.folders.size(), 3U);
    simulated.runLoop.advance(10);
    EXPECT_EQ(simulated.fileManager.folders, std::set<std::string>{kRunning});
    EXPECT_THAT(simulated.http.urls, ElementsAre("https://host/a.zip", "https://host/a.zip"));
}

TEST_F(Install, OnlyTheDownloadLetsTheProgramGoOn) {
    simulated.http.archive->delay = 5;
    updater->installPending();
    simulated.runLoop.advance(4.9);
    EXPECT_THAT(states, ElementsAre(kDownloading));
    simulated.runLoop.advance(0.1);
    EXPECT_THAT(states, ElementsAre(kDownloading, kInstalling, kReady)) << "all in one turn";
}

TEST_F(Install, WhatIsUnderWayComesToItsEndThoughNobodyHoldsTheUpdater) {
    simulated.http.archive->delay = 5;
    updater->state.didSet = nullptr;
    updater->installPending();
    EXPECT_EQ(simulated.fileManager.folders.count(kWork), 1U);
    const std::weak_ptr<Updater> weak = updater;
    updater.reset();
    EXPECT_FALSE(weak.expired());
    simulated.runLoop.advance(10);
    EXPECT_TRUE(weak.expired());
    EXPECT_TRUE(simulated.defaults.has("pendingReleaseNotes"));
    EXPECT_EQ(simulated.fileManager.folders.count(kWork), 0U);
}

TEST_F(Install, ADownloadThatIsGivenUpLeavesNoFolder) {
    auto services = simulated.services();
    {
        platform::SimulatedRunLoop other;
        platform::SimulatedHttp http(other, simulated.files);
        http.archive = simulated.http.archive;
        http.archive->delay = 5;
        const platform::Services onOther{services.machine,        services.processes,
                                         services.swappedMemory,  services.agents,
                                         services.childProcesses, services.clock,
                                         services.runLoop,        services.files,
                                         services.statusBar,      services.defaults,
                                         services.power,          services.notifications,
                                         services.bundle,         http,
                                         services.fileManager,    services.digest,
                                         services.archive,        services.codeSignature,
                                         services.programLoader,  services.workspace};
        const auto leaving = std::make_shared<Updater>(onOther, [] { return Uuid{{1, 0}}; });
        leaving->pending = release();
        leaving->installPending();
        EXPECT_EQ(simulated.fileManager.folders.count(kWork), 1U);
    }
    EXPECT_EQ(simulated.fileManager.folders.count(kWork), 0U);
}

TEST_F(Install, RelaunchStartsWhatLiesInPlaceAndEndsTheProgram) {
    install();
    log.clear();
    updater->relaunch();
    EXPECT_THAT(log, ElementsAre("relaunch " + kRunning, "terminate")) << "first it is started";
    EXPECT_THAT(simulated.workspace.relaunched, ElementsAre(kRunning));
    EXPECT_TRUE(simulated.runLoop.terminated());
}

} // namespace
} // namespace korvel
