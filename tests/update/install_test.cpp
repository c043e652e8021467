#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "update/install_fixture.h"

namespace korvel {
namespace {

using platform::BundleFault;
using testing::ElementsAre;
using testing::IsEmpty;

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

TEST_F(Install, TheStateIsToldBeforeAnythingIsDone) {
    updater->state.didSet = [this] {
        if (*updater->state == kDownloading) {
            EXPECT_THAT(calls(), IsEmpty());
        }
    };
    install();
    EXPECT_EQ(*updater->state, kReady);
    EXPECT_FALSE(calls().empty());
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

TEST_F(Install, NothingButTheNotesIsStored) {
    install();
    ASSERT_EQ(states.back(), kReady);
    EXPECT_THAT(simulated.defaults.values, ElementsAre(testing::Key("pendingReleaseNotes")));
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
        {"Korvel.app", "/"},
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

TEST_F(Install, WhatTheUserIsToldIsInTheFileManagerIsShownThereByThen) {
    simulated.bundle.writable = false;
    updater->state.didSet = [this] {
        states.push_back(*updater->state);
        EXPECT_EQ(simulated.workspace.revealed.size(), states.size() == 3 ? 1U : 0U);
    };
    install();
    EXPECT_EQ(states.size(), 3U);
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

TEST_F(Install, AtTheEndOfTheProgramWhatIsOverIsLeftAlone) {
    simulated.http.archive->delay = 5;
    updater->installPending();
    simulated.runLoop.advance(10);
    ASSERT_EQ(calls().back(), "remove " + kWork);
    log.clear();
    updater->abandon();
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Install, WhoDrawsIsCalledOnceWithTheStateBeforeAnyOfTheWork) {
    updater->onInstalling = [this] {
        EXPECT_EQ(*updater->state, kInstalling);
        EXPECT_THAT(calls(), testing::Not(testing::Contains(testing::StartsWith("sha256 "))));
        log.emplace_back("read by who draws");
    };
    install();
    EXPECT_THAT(calls(), testing::Contains("read by who draws").Times(1));
    EXPECT_EQ(states.back(), kReady);
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

TEST_F(Install, AReleaseThatIsReplacedByWhoHearsOfTheDownloadIsNotTaken) {
    updater->state.didSet = [this] { updater->pending->url = "https://host/other.zip"; };
    install();
    EXPECT_THAT(simulated.http.urls, ElementsAre("https://host/a.zip"));
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
