#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "model/model.h"
#include "platform/posix/child_processes.h"
#include "platform/simulated/services.h"
#include "support/ordinary_user.h"

// The reclaim script as a real shell runs it, with all that a script may do.
namespace korvel {
namespace {

namespace fs = std::filesystem;
using testing::Optional;

constexpr const char* kNothingCleared = "nothing worth clearing";

class RealScript : public testing::Test {
  protected:
    RealScript() {
        fs::create_directories(home_);
        system_.files.home = home_.string();
        model_ = std::make_shared<Model>(metrics_, services_);
    }
    ~RealScript() override {
        std::error_code gone;
        fs::remove_all(home_, gone);
    }

    void script(const std::string& text) const {
        std::ofstream(home_ / "reclaim.sh", std::ios::binary) << text;
    }

    std::optional<std::string> preview() {
        model_->previewReclaim();
        system_.runLoop.advance(0);
        EXPECT_FALSE(*model_->scanning);
        return *model_->reclaimPreview;
    }

    std::optional<std::string> run() {
        model_->runReclaim();
        system_.runLoop.advance(0);
        EXPECT_FALSE(*model_->reclaiming);
        return *model_->reclaimResult;
    }

    fs::path home_ = fs::path(testing::TempDir()) /
                     ("korvel reclaim '" + std::to_string(::getpid()) + "' \"home\"");
    platform::PosixChildProcesses children_;
    platform::SimulatedServices system_;
    Metrics metrics_{system_.machine, system_.processes, system_.agents, system_.clock};
    platform::Services services_ = system_.services(children_, system_.files);
    std::shared_ptr<Model> model_;
};

TEST_F(RealScript, IsRunWithoutArgumentsForAPreview) {
    script("echo \"TOTAL RECLAIMABLE $# arguments\"\n");
    EXPECT_THAT(preview(), Optional(std::string("0 arguments")));
}

TEST_F(RealScript, IsRunThoughItIsNotExecutable) {
    script("echo TOTAL RECLAIMABLE 4.7 GB\n");
    fs::permissions(home_ / "reclaim.sh", fs::perms::owner_read);
    EXPECT_THAT(preview(), Optional(std::string("4.7 GB")));
}

TEST_F(RealScript, IsToldToClearWithoutAQuestion) {
    script("printf '%s|' \"$@\" >\"${0%/*}/told\"; read -r answer; echo \"$answer\"\n");
    EXPECT_THAT(run(), Optional(std::string("nothing to reclaim right now")));
    std::string told;
    std::getline(std::ifstream(home_ / "told"), told);
    EXPECT_EQ(told, "--go|--yes|") << "and its question was answered by nobody";
}

TEST_F(RealScript, AnExitStatusMeansNothing) {
    script("echo TOTAL RECLAIMABLE 3 GB; exit 3\n");
    EXPECT_THAT(preview(), Optional(std::string("3 GB")));
}

TEST_F(RealScript, ADeathBySignalMeansNothing) {
    script("echo TOTAL RECLAIMABLE 3 GB; kill -9 $$\n");
    EXPECT_THAT(preview(), Optional(std::string("3 GB")));
}

TEST_F(RealScript, WhatItSaysOfErrorsIsNotRead) {
    script("echo TOTAL RECLAIMABLE 3 GB >&2\n");
    EXPECT_THAT(preview(), Optional(std::string(kNothingCleared)));
}

TEST_F(RealScript, OutputThatIsNoUtf8IsNothing) {
    script("printf 'TOTAL RECLAIMABLE 3 GB\\n\\377\\n'\n");
    EXPECT_THAT(preview(), Optional(std::string(kNothingCleared)));
}

TEST_F(RealScript, AHundredMegabytesOfOutputAreReadToTheEnd) {
    script("head -c 100000000 /dev/zero | tr '\\0' '\\n'; echo TOTAL RECLAIMABLE 2 GB\n");
    EXPECT_THAT(preview(), Optional(std::string("2 GB")));
}

TEST_F(RealScript, AChildThatKeepsThePipeIsWaitedFor) {
    script("(exec 3>&1; sleep 0.2; echo TOTAL RECLAIMABLE 5 GB >&3) & echo first\n");
    EXPECT_THAT(preview(), Optional(std::string("5 GB")));
}

TEST_F(RealScript, IsTheSameThroughALink) {
    std::ofstream(home_ / "elsewhere") << "echo TOTAL RECLAIMABLE 6 GB\n";
    fs::create_symlink("elsewhere", home_ / "reclaim.sh");
    EXPECT_THAT(preview(), Optional(std::string("6 GB")));
}

TEST_F(RealScript, ThatIsMissingClearsNothing) {
    EXPECT_THAT(preview(), Optional(std::string(kNothingCleared)));
    EXPECT_THAT(run(), Optional(std::string("nothing to reclaim right now")));
}

TEST_F(RealScript, ThatIsAFolderClearsNothing) {
    fs::create_directory(home_ / "reclaim.sh");
    EXPECT_THAT(preview(), Optional(std::string(kNothingCleared)));
}

TEST_F(RealScript, ThatMayNotBeReadClearsNothing) {
    script("echo TOTAL RECLAIMABLE 4.7 GB\n");
    fs::permissions(home_, fs::perms::owner_all | fs::perms::others_exec);
    fs::permissions(home_ / "reclaim.sh", fs::perms::owner_exec | fs::perms::others_exec);
    // The superuser may read anything.
    const auto check = [&] {
        const bool nothing =
            test::becomeOrdinaryUser() && preview() == std::string(kNothingCleared);
        std::_Exit(nothing ? 0 : 1);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
}

TEST_F(RealScript, ThatIsBrokenClearsNothing) {
    script("if then fi (((\n");
    EXPECT_THAT(preview(), Optional(std::string(kNothingCleared)));
}

TEST_F(RealScript, AnEmptyOneClearsNothing) {
    script("");
    EXPECT_THAT(preview(), Optional(std::string(kNothingCleared)));
}

} // namespace
} // namespace korvel
