#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sys/mount.h>

#include "platform/linux/kernel/fuse_volume.h"
#include "platform/linux/kernel/linux_machine.h"
#include "support/temp_tree.h"

// The data volume on a real mount that freezes.
namespace korvel::platform {
namespace {

using test::FuseVolume;
using MountClock = std::chrono::steady_clock;

std::ptrdiff_t threadCount() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}

/// One that is ending has none either.
std::ptrdiff_t threadsWithoutDescriptors() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::count_if(begin(tasks), end(tasks), [](const auto& task) {
        return std::filesystem::is_empty(task.path() / "fd");
    });
}

struct ToldOfVolume {
    std::optional<std::uint64_t> available; ///< blocks
    bool unreported = false;

    bool operator==(const ToldOfVolume&) const = default;
};

ToldOfVolume sampleOfVolume(LinuxMachine& machine) {
    const auto reading = machine.read();
    const auto volume = reading->dataVolume();
    return {volume ? std::optional(volume->f_bavail) : std::nullopt,
            reading->unreported().dataVolume};
}

bool volumeComesTo(LinuxMachine& machine, const ToldOfVolume& wanted) {
    const auto end = MountClock::now() + std::chrono::seconds(20);
    while (sampleOfVolume(machine) != wanted) {
        if (MountClock::now() > end) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

class FrozenVolume : public testing::TestWithParam<FuseVolume::Manner> {
  protected:
    void SetUp() override {
        if (!volume.failure().empty()) {
            GTEST_SKIP() << volume.failure();
        }
    }

    TempTree tree;
    FuseVolume volume{tree.root() + "/mount"};
};

TEST_P(FrozenVolume, HoldsUpNoSampleAndKeepsItsLastReadingUntilItAnswers) {
    LinuxMachine machine("/", volume.home().string());
    ASSERT_TRUE(volumeComesTo(machine, {500, false}));
    for (const std::uint64_t now : {400U, 300U}) {
        volume.set(GetParam(), now);
        const std::ptrdiff_t before = threadCount();
        const ToldOfVolume last = {now + 100, false};
        const auto frozen = MountClock::now();
        constexpr int kSamples = 100;
        for (int number = 0; number < kSamples; ++number) {
            EXPECT_EQ(sampleOfVolume(machine), last);
        }
        EXPECT_LT(MountClock::now() - frozen, std::chrono::seconds(2)) << "each was waited for";
        EXPECT_LE(threadCount(), before) << "those of other tests may end";
        volume.set(FuseVolume::Manner::answers);
        EXPECT_TRUE(volumeComesTo(machine, {now, false}));
    }
}

TEST_P(FrozenVolume, FrozenFromTheStartIsNotReported) {
    volume.set(GetParam());
    // A link leads there, which is followed without a question to it.
    const std::string link = tree.root() + "/link";
    std::filesystem::create_symlink(volume.home(), link);
    LinuxMachine machine("/", link);
    const auto start = MountClock::now();
    for (int number = 0; number < 20; ++number) {
        EXPECT_EQ(sampleOfVolume(machine), (ToldOfVolume{std::nullopt, true}));
    }
    EXPECT_LT(MountClock::now() - start, std::chrono::seconds(1)) << "each was waited for";
    volume.set(FuseVolume::Manner::answers);
    EXPECT_TRUE(volumeComesTo(machine, {500, false}));
}

TEST_P(FrozenVolume, HoldsNoDescriptorOfTheProgram) {
    LinuxMachine machine("/", volume.home().string());
    ASSERT_TRUE(volumeComesTo(machine, {500, false}));
    while (threadsWithoutDescriptors() > 1) {
        std::this_thread::yield(); // those of other tests are ending
    }
    EXPECT_EQ(threadsWithoutDescriptors(), 1) << "the one that asks";
    volume.set(GetParam());
    sampleOfVolume(machine);
    EXPECT_EQ(threadsWithoutDescriptors(), 1);
}

TEST_P(FrozenVolume, ThatIsUnmountedGivesWayToWhatLiesBelow) {
    LinuxMachine machine("/", volume.home().parent_path().string());
    ASSERT_TRUE(volumeComesTo(machine, {500, false}));
    volume.set(GetParam());
    sampleOfVolume(machine);
    ASSERT_EQ(::umount2(volume.home().parent_path().c_str(), MNT_DETACH), 0);
    const auto below = machine.read()->dataVolume();
    ASSERT_TRUE(below);
    EXPECT_NE(below->f_blocks, FuseVolume::kBlocks);
}

TEST_P(FrozenVolume, ThatCoversAnotherDoesNotSpeakForIt) {
    LinuxMachine machine("/", volume.home().string());
    ASSERT_TRUE(volumeComesTo(machine, {500, false}));
    FuseVolume over(volume.home().parent_path());
    ASSERT_EQ(over.failure(), "");
    over.set(GetParam(), 123);
    EXPECT_EQ(sampleOfVolume(machine), (ToldOfVolume{std::nullopt, true}));
    over.set(FuseVolume::Manner::answers);
    EXPECT_TRUE(volumeComesTo(machine, {123, false}));
}

INSTANTIATE_TEST_SUITE_P(Manners, FrozenVolume,
                         testing::Values(FuseVolume::Manner::keepsQuestions,
                                         FuseVolume::Manner::isDeaf));

} // namespace
} // namespace korvel::platform
