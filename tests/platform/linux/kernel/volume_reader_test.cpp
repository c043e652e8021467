#include "platform/linux/kernel/volume_reader.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mount.h>

#include "platform/linux/kernel/counting_calls.h"
#include "platform/posix/private_mounts.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

const std::string kRootLine = "1 0 8:1 / / rw - ext4 /dev/sda1 rw\n";
const std::string kServerLine = "2 1 0:9 / /home rw - nfs4 server:/home rw\n";

/// A volume that answers, or does not until it is let. Its blocks count the questions too: there
/// are 1001 in the answer to the first.
class ToyVolume {
  public:
    /// Lets who still asks go: a reader leaves its thread behind.
    ~ToyVolume() {
        std::unique_lock lock(mutex_);
        stuck_ = false;
        changed_.notify_all();
        changed_.wait(lock, [this] { return out_ == 0; });
    }

    AskVolume ask() {
        return [this](const std::string&) {
            std::unique_lock lock(mutex_);
            const auto number = static_cast<std::uint64_t>(++questions);
            most_ = std::max(most_, ++out_);
            askers_.insert(std::this_thread::get_id());
            changed_.wait(lock, [this] { return !stuck_; });
            --out_;
            struct statvfs volume {};
            volume.f_frsize = 4096;
            volume.f_blocks = 1000 + number;
            volume.f_bfree = volume.f_bavail = free_;
            changed_.notify_all();
            return free_ > 0 ? std::optional(volume) : std::nullopt;
        };
    }

    void freeze() { set(stuck_, true); }
    void thaw() { set(stuck_, false); }
    void hold(std::uint64_t free) { set(free_, free); } ///< 0: it cannot be asked

    /// Whether a question has come and is out.
    bool isAsked() {
        const std::lock_guard lock(mutex_);
        return out_ > 0;
    }
    int mostAtOnce() {
        const std::lock_guard lock(mutex_);
        return most_;
    }
    std::set<std::thread::id> askers() {
        const std::lock_guard lock(mutex_);
        return askers_;
    }
    std::atomic<int> questions{0};

  private:
    template <typename Value>
    void set(Value& value, Value now) {
        const std::lock_guard lock(mutex_);
        value = now;
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    bool stuck_ = false;
    std::uint64_t free_ = 600;
    int out_ = 0;
    int most_ = 0;
    std::set<std::thread::id> askers_;
};

class VolumeReading : public testing::Test {
  protected:
    VolumeReading() { mounts(kRootLine + kServerLine); }
    void mounts(const std::string& list) { tree.write("mountinfo", list); }

    std::optional<std::uint64_t> free() {
        const auto statistics = reader.read();
        return statistics ? std::optional(statistics->f_bavail) : std::nullopt;
    }

    /// Reads until it says this; false when it does not within seconds.
    bool comesTo(std::optional<std::uint64_t> wanted) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (free() != wanted) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            std::this_thread::yield();
        }
        return true;
    }

    TempTree tree;
    ToyVolume volume;
    CountingCalls calls;
    VolumeReader reader{"/home", tree.root() + "/mountinfo", volume.ask(), calls};
};

TEST_F(VolumeReading, AVolumeThatAnswersAloneIsAskedByWhoReads) {
    mounts(kRootLine);
    EXPECT_EQ(free(), 600U);
    volume.hold(500);
    EXPECT_EQ(free(), 500U);
    EXPECT_EQ(volume.askers(), std::set{std::this_thread::get_id()});
}

TEST_F(VolumeReading, WithoutAListOfMountsToo) {
    tree.remove("mountinfo");
    EXPECT_EQ(free(), 600U);
    EXPECT_EQ(volume.askers(), std::set{std::this_thread::get_id()});
}

TEST_F(VolumeReading, AServersVolumeIsAskedByOneOtherThreadAtEachReading) {
    for (const std::uint64_t now : {600U, 500U, 400U}) {
        volume.hold(now);
        EXPECT_TRUE(comesTo(now));
    }
    EXPECT_EQ(volume.askers().size(), 1U);
    EXPECT_FALSE(volume.askers().contains(std::this_thread::get_id()));
    EXPECT_EQ(volume.mostAtOnce(), 1);
}

TEST_F(VolumeReading, OneThatDoesNotAnswerKeepsItsLastReadingAndIsAskedNoSecondTime) {
    ASSERT_TRUE(comesTo(600));
    volume.freeze();
    volume.hold(100);
    const int before = volume.questions;
    for (int sample = 0; sample < 200; ++sample) {
        EXPECT_EQ(free(), 600U);
    }
    EXPECT_EQ(volume.questions - before, 1);
    volume.thaw();
    EXPECT_TRUE(comesTo(100));
    volume.hold(90);
    EXPECT_TRUE(comesTo(90));
    EXPECT_EQ(volume.askers().size(), 1U) << "the same thread as before";
}

TEST_F(VolumeReading, OnlyTheFirstQuestionThatIsNotAnsweredIsWaitedFor) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kPatience(50);
    volume.freeze();
    const auto start = Clock::now();
    reader.read();
    EXPECT_GE(Clock::now() - start, kPatience) << "it was given no time";
    const auto next = Clock::now();
    for (int sample = 0; sample < 200; ++sample) {
        reader.read();
    }
    EXPECT_LT(Clock::now() - next, 200 * kPatience / 2);
}

TEST_F(VolumeReading, ThereIsNoneBeforeTheFirstAnswer) {
    volume.freeze();
    for (int sample = 0; sample < 20; ++sample) {
        EXPECT_EQ(free(), std::nullopt);
    }
    volume.thaw();
    EXPECT_TRUE(comesTo(600));
}

TEST_F(VolumeReading, AFailureIsAnAnswerToo) {
    ASSERT_TRUE(comesTo(600));
    volume.hold(0);
    EXPECT_TRUE(comesTo(std::nullopt));
    volume.hold(300);
    EXPECT_TRUE(comesTo(300));
}

TEST_F(VolumeReading, ALateAnswerIsGivenAtTheNextReading) {
    ASSERT_TRUE(comesTo(600));
    volume.freeze();
    reader.read();
    volume.hold(200);
    volume.thaw();
    ASSERT_TRUE(comesTo(200));
    volume.hold(150);
    EXPECT_TRUE(comesTo(150)) << "it is asked again";
}

TEST_F(VolumeReading, ReadersThatMeetShareOneQuestion) {
    constexpr int kReaders = 4;
    std::vector<std::thread> readers;
    std::atomic<int> right{0};
    for (int number = 0; number < kReaders; ++number) {
        readers.emplace_back([&] {
            for (int sample = 0; sample < 100; ++sample) {
                right += free() == 600U ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : readers) {
        thread.join();
    }
    EXPECT_EQ(volume.mostAtOnce(), 1);
    EXPECT_GT(right, 0);
}

TEST_F(VolumeReading, TheEndDoesNotWaitForAnAnswer) {
    volume.freeze();
    {
        VolumeReader ending{"/home", tree.root() + "/mountinfo", volume.ask(), calls};
        ending.read();
        while (!volume.isAsked()) {
            std::this_thread::yield();
        }
    }
    EXPECT_TRUE(volume.isAsked()) << "the question is still out";
    volume.thaw();
    while (volume.isAsked()) {
        std::this_thread::yield();
    }
}

TEST_F(VolumeReading, TheListIsReadOnceAndLookedForOnceAMinuteWhereThereIsNone) {
    constexpr int kSamples = 12 * 5;
    tree.remove("mountinfo");
    reader.read();
    for (int sample = 0; sample < kSamples; ++sample) {
        reader.read();
    }
    EXPECT_EQ(calls.opens, 1 + kSamples / 12);
    EXPECT_EQ(calls.reads, 0);
    mounts(kRootLine);
    for (int sample = 0; sample < kSamples; ++sample) {
        reader.read();
    }
    EXPECT_EQ(calls.opened, 1);
    EXPECT_EQ(calls.reads, 2) << "its content and its end";
}

class ForgottenVolume : public testing::Test {
  protected:
    ToyVolume volume;
    RemoteVolume remote{"/home", volume.ask(), std::chrono::milliseconds(50)};
};

TEST_F(ForgottenVolume, ItsAnswerIsNoLongerGiven) {
    while (!remote.read()) {
        std::this_thread::yield();
    }
    volume.freeze();
    EXPECT_TRUE(remote.read());
    remote.forget();
    EXPECT_FALSE(remote.read());
}

TEST_F(ForgottenVolume, ItsLateAnswerIsNotTakenForTheNewOnes) {
    volume.freeze();
    remote.read();
    while (!volume.isAsked()) {
        std::this_thread::yield();
    }
    remote.forget();
    volume.thaw();
    std::optional<VolumeStatistics> given;
    while (!given) {
        std::this_thread::yield();
        given = remote.read();
    }
    EXPECT_GT(given->f_blocks, 1001U) << "an answer to the first question";
    EXPECT_EQ(volume.mostAtOnce(), 1);
}

std::optional<struct statvfs> statvfsOf(const std::string& path) {
    struct statvfs volume {};
    return ::statvfs(path.c_str(), &volume) == 0 ? std::optional(volume) : std::nullopt;
}

TEST(MountedVolume, AChangeOfTheMountsIsSeenAtTheNextReading) {
    if (const std::string failure = test::takePrivateMounts(); !failure.empty()) {
        GTEST_SKIP() << failure;
    }
    const TempTree tree;
    const std::string folder = std::filesystem::canonical(tree.root()).string();
    CountingCalls calls;
    VolumeReader reader(folder, "/proc/self/mountinfo", statvfsOf, calls);
    const auto before = reader.read();
    ASSERT_TRUE(before);
    const int read = calls.reads;
    ASSERT_TRUE(reader.read());
    EXPECT_EQ(calls.reads, read);
    ASSERT_EQ(::mount("room", folder.c_str(), "tmpfs", 0, "size=64k"), 0);
    const auto covered = reader.read();
    EXPECT_GT(calls.reads, read) << "the kernel said that they had changed";
    ASSERT_TRUE(covered);
    EXPECT_EQ(covered->f_blocks * covered->f_bsize, 64U * 1024);
    ASSERT_EQ(::umount(folder.c_str()), 0);
    EXPECT_EQ(reader.read()->f_blocks, before->f_blocks);
}

} // namespace
} // namespace korvel::platform
