// Who answers for shared memory: the rule, its readers, and real processes.

#include "platform/linux/kernel/shared_memory.h"

#include <array>
#include <cmath>
#include <csignal>
#include <cstring>
#include <functional>
#include <map>
#include <vector>

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/kernel/process_tree.h"
#include "support/generator.h"

namespace korvel::platform {
namespace {

constexpr std::uint64_t kGigabyte = std::uint64_t{1} << 30;
constexpr std::uint64_t kMegabyte = std::uint64_t{1} << 20;
constexpr std::uint64_t kGigabyteInKiB = kGigabyte / kKiB;

// The rule.

SharedHolding holder(std::int32_t pid, std::int32_t parent, double gb) {
    SharedHolding holding;
    holding.pid = pid;
    holding.parent = parent;
    holding.resident = static_cast<std::uint64_t>(gb * static_cast<double>(kGigabyte));
    return holding;
}

std::vector<SharedHolding> children(int count, std::int32_t parent, double gb) {
    std::vector<SharedHolding> all;
    all.reserve(static_cast<std::size_t>(count));
    for (int i = 1; i <= count; ++i) {
        all.push_back(holder(parent + i, parent, gb));
    }
    return all;
}

std::vector<SharedHolding> operator+(std::vector<SharedHolding> some,
                                     const std::vector<SharedHolding>& more) {
    some.insert(some.end(), more.begin(), more.end());
    return some;
}

SharedHolding measured(SharedHolding holding, double proportionalGB) {
    holding.measuredAt = 1;
    holding.residentThen = holding.resident;
    holding.proportional =
        static_cast<std::uint64_t>(proportionalGB * static_cast<double>(kGigabyte));
    return holding;
}

std::vector<SharedHolding*> pointers(std::vector<SharedHolding>& holders) {
    std::vector<SharedHolding*> result;
    result.reserve(holders.size());
    for (SharedHolding& holding : holders) {
        result.push_back(&holding);
    }
    return result;
}

TEST(SharedMemorySplit, IsWhatEachAnswersFor) {
    struct Case {
        const char* name;
        std::vector<SharedHolding> holders;
        double machineGB;
        std::vector<double> expected; ///< GB, of the first holders
    };
    for (Case& c : std::vector<Case>{
             {"alone", {holder(7, 1, 9)}, 9.5, {9}},
             {"alone, of pages that went since", {holder(7, 1, 9)}, 6, {6}},
             {"nothing shows that they share", {holder(7, 1, 9), holder(8, 1, 1)}, 10, {9, 1}},
             {"twenty children of a database", children(20, 100, 8), 8, {0.4, 0.4}},
             {"its parent maps it too", children(3, 100, 8) + children(1, 99, 8), 8, {2, 2, 2, 2}},
             {"a virtual machine beside a database",
              std::vector{holder(7, 1, 9)} + children(20, 100, 2),
              11,
              {9, 0.1}},
             {"virtual machines of one parent", children(3, 100, 4), 12, {4, 4, 4}},
             {"they share a part", children(2, 100, 6), 9, {4.5, 4.5}},
             {"strangers who share", {holder(7, 1, 6), holder(8, 1, 2)}, 4, {3, 1}},
             {"more than one family and too little",
              children(2, 100, 4) + children(2, 200, 4),
              4,
              {1, 1, 1, 1}},
             {"one that was measured", {measured(holder(7, 1, 8), 4), holder(8, 1, 8)}, 8, {4, 4}},
             {"measured when there were others", {measured(holder(7, 1, 8), 4)}, 8, {8}},
             {"measured for too much", {measured(holder(7, 1, 8), 8), holder(8, 1, 8)}, 4, {8, 0}},
         }) {
        splitSharedMemory(pointers(c.holders),
                          static_cast<std::uint64_t>(c.machineGB * static_cast<double>(kGigabyte)));
        for (std::size_t i = 0; i < c.expected.size(); ++i) {
            EXPECT_NEAR(static_cast<double>(c.holders[i].share()) / static_cast<double>(kGigabyte),
                        c.expected[i], 1e-6)
                << c.name << ", holder " << i;
        }
    }
}

TEST(SharedMemorySplit, GrowsWithWhatAMeasuredHolderMapsSince) {
    std::vector<SharedHolding> holders = {measured(holder(7, 1, 4), 2), holder(8, 1, 4)};
    holders[0].resident += kGigabyte / 2;
    splitSharedMemory(pointers(holders), 8 * kGigabyte);
    EXPECT_EQ(holders[0].share(), 2 * kGigabyte + kGigabyte / 4);
}

TEST(SharedMemorySplit, NeverComesToMoreThanThereIs) {
    test::Generator random(7);
    for (int repeat = 0; repeat < 2000; ++repeat) {
        std::vector<SharedHolding> holders;
        const int count = 1 + static_cast<int>(random.below(12));
        holders.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            holders.push_back(holder(i + 2, 1 + static_cast<std::int32_t>(random.below(6)),
                                     static_cast<double>(random.below(800)) / 100));
        }
        const std::uint64_t machine = random.below(2000) * (kGigabyte / 100);
        splitSharedMemory(pointers(holders), machine);
        std::uint64_t sum = 0;
        for (const SharedHolding& holding : holders) {
            EXPECT_LE(holding.share(), holding.resident);
            sum += holding.share();
        }
        EXPECT_LE(sum, machine + 100) << repeat;
        EXPECT_GE(sum + 100, std::min(machine, residentOfAll(pointers(holders)))) << repeat;
    }
}

TEST(SharedMemoryMeasurement, IsDueOnceAMinuteAndAfterAChange) {
    struct Case {
        const char* name;
        std::function<void(SharedHolding&)> change;
        std::uint64_t all;
        std::uint32_t listing;
        bool expected;
    };
    for (const Case& c : std::vector<Case>{
             {"nothing has changed", [](SharedHolding&) {}, 4 * kGigabyte, 500, false},
             {"never before", [](SharedHolding& h) { h.measuredAt = 0; }, 4 * kGigabyte, 1, true},
             {"it maps more", [](SharedHolding& h) { h.resident = 9 * kGigabyte / 8 + kMegabyte; },
              4 * kGigabyte, 22, true},
             {"it maps a little more", [](SharedHolding& h) { h.resident = 9 * kGigabyte / 8; },
              4 * kGigabyte, 22, false},
             {"it maps less", [](SharedHolding& h) { h.resident = kGigabyte / 2; }, 4 * kGigabyte,
              22, true},
             {"others map more", [](SharedHolding&) {}, 5 * kGigabyte, 22, true},
             {"less than a minute ago", [](SharedHolding&) {}, 5 * kGigabyte, 21, false},
             {"the count of listings has run over", [](SharedHolding& h) { h.measuredAt = ~0U; },
              5 * kGigabyte, 11, true},
             {"now alone", [](SharedHolding& h) { h.measuredAt = 0; }, kGigabyte, 500, false},
             {"too large to walk", [](SharedHolding& h) { h.process = 2 * kGigabyte + 1; },
              5 * kGigabyte, 500, false},
         }) {
        SharedHolding holding = holder(7, 1, 1);
        holding.process = 2 * kGigabyte;
        holding.measuredAt = 10;
        holding.residentThen = kGigabyte;
        holding.allThen = 4 * kGigabyte;
        c.change(holding);
        EXPECT_EQ(isMeasurementDue(holding, c.all, c.listing), c.expected) << c.name;
    }
}

// The readers.

using SharedMemory = ProcessTree;

TEST_F(SharedMemory, OfAVirtualMachineIsInItsFootprint) {
    sharing(5, "vm", 1000, 20480, 9 * kGigabyteInKiB);
    sharing(6, "p", 100, 400000, 0);
    shmem(9 * kGigabyteInKiB + 5000);
    const auto found = footprints();
    EXPECT_EQ(found.at(5), 1000 * kPage + 9 * kGigabyte);
    EXPECT_EQ(found.at(6), 100 * kPage) << "pages of files are nobody's";
    EXPECT_EQ(timesRead("5/smaps_rollup"), 0) << "alone it answers for all of it";
}

TEST_F(SharedMemory, OfADatabaseIsThatOfAllItsProcessesTogetherFromTheFirstReadingOn) {
    for (int pid = 100; pid <= 120; ++pid) {
        sharing(pid, "database", 1000, 20480, 8 * kGigabyteInKiB, pid == 100 ? 1 : 100);
    }
    shmem(8 * kGigabyteInKiB);
    for (int listing = 0; listing < 30; ++listing) {
        std::uint64_t sum = 0;
        for (const auto& [pid, bytes] : footprints()) {
            EXPECT_LT(bytes, kGigabyte) << pid;
            sum += bytes - 1000 * kPage;
        }
        EXPECT_NEAR(static_cast<double>(sum), static_cast<double>(8 * kGigabyte), 100);
    }
}

TEST_F(SharedMemory, ThatAllFillBetweenTwoReadingsIsNotTakenForTheFirstOnes) {
    for (int pid = 101; pid <= 120; ++pid) {
        sharing(pid, "database", 1000, 20480, 40000, 100);
    }
    shmem(300000);
    footprints();
    for (int pid = 101; pid <= 120; ++pid) {
        sharing(pid, "database", 1000, 20480, 8 * kGigabyteInKiB, 100);
    }
    shmem(8 * kGigabyteInKiB);
    for (const auto& [pid, bytes] : footprints()) {
        EXPECT_LT(bytes, kGigabyte) << pid;
    }
}

TEST_F(SharedMemory, OfANewProcessIsDividedAtItsFirstReading) {
    for (int pid = 101; pid <= 120; ++pid) {
        sharing(pid, "database", 1000, 20480, 90 * kGigabyteInKiB, 100);
    }
    shmem(100 * kGigabyteInKiB);
    footprints();
    sharing(121, "database", 1000, 20480, 10 * kGigabyteInKiB, 100);
    EXPECT_LT(footprints().at(121), kGigabyte);
}

TEST_F(SharedMemory, IsForgottenWithTheProcessAndWithTheMachines) {
    sharing(5, "vm", 1000, 20480, kGigabyteInKiB);
    shmem(kGigabyteInKiB);
    EXPECT_EQ(footprints().at(5), 1000 * kPage + kGigabyte);
    shmem(1000);
    EXPECT_EQ(footprints().at(5), 1000 * kPage);
    EXPECT_EQ(processes_.keptDescriptors(), 1U) << "the status file is given back";
    shmem(kGigabyteInKiB);
    EXPECT_EQ(footprints().at(5), 1000 * kPage + kGigabyte);
    tree_.remove("proc/5");
    footprints();
    process(5, "next", 7);
    EXPECT_EQ(footprints().at(5), 7 * kPage);
}

TEST_F(SharedMemory, IsReadOnlyOfWhoMayHoldMuch) {
    sharing(5, "small", 1000, 10000, 40000);
    sharing(6, "files", 1000, 400000, 0);
    shmem(kGigabyteInKiB);
    for (int listing = 0; listing < 24; ++listing) {
        sharing(6, "files", 1000 + listing, 400000, 0); // its own memory comes and goes
        footprints();
    }
    EXPECT_EQ(timesRead("5/status"), 0);
    EXPECT_LE(timesRead("6/status"), 3) << "at the first listing, and at every twelfth";
    sharing(6, "files", 1000, 440000, 0);
    footprints();
    EXPECT_LE(timesRead("6/status"), 4) << "no room for much shared memory in what it has grown by";
    const int before = timesRead("6/status");
    sharing(6, "files", 1000, 400000, 200000);
    EXPECT_EQ(footprints().at(6), 1000 * kPage + 200000 * kKiB);
    EXPECT_GT(timesRead("6/status"), before);
}

TEST_F(SharedMemory, OfNobodyIsReadWhereTheMachineHasLittle) {
    sharing(6, "files", 1000, 400000, 0);
    shmem(kLeastShared / kKiB);
    for (int listing = 0; listing < 24; ++listing) {
        footprints();
    }
    EXPECT_EQ(timesRead("6/status"), 0);
}

TEST_F(SharedMemory, InTheSteadyStateIsReadAgainOnceAMinute) {
    for (int pid = 1; pid <= 5; ++pid) {
        sharing(pid, "p", 1000, 20480, kGigabyteInKiB);
        proportional(pid, kGigabyteInKiB / 5);
    }
    shmem(kGigabyteInKiB);
    constexpr int kSettled = 24;
    for (int listing = 0; listing < kSettled; ++listing) {
        footprints();
    }
    const std::uint64_t expected = 1000 * kPage + kGigabyte / 5;
    const auto before = calls_.timesRead();
    const int opens = calls_.opens;
    for (int listing = 0; listing < 24; ++listing) {
        for (const auto& [pid, bytes] : footprints()) {
            EXPECT_NEAR(static_cast<double>(bytes), static_cast<double>(expected), 5000) << pid;
        }
    }
    EXPECT_EQ(calls_.opens, opens);
    for (int pid = 1; pid <= 5; ++pid) {
        const std::string path = std::to_string(pid) + "/status";
        EXPECT_EQ(timesRead(path) - before.at(path), 2) << path;
        EXPECT_EQ(timesRead(std::to_string(pid) + "/smaps_rollup"), 1);
    }
}

TEST_F(SharedMemory, IsMeasuredForOneProcessAtAListingTheLargestFirst) {
    sharing(5, "a", 1000, 20480, kGigabyteInKiB / 2);
    sharing(6, "b", 1000, 20480, kGigabyteInKiB);
    sharing(7, "too large", 1000, 20480, 3 * kGigabyteInKiB);
    for (const int pid : {5, 6, 7}) {
        proportional(pid, kGigabyteInKiB / 4);
    }
    shmem(4 * kGigabyteInKiB);
    auto found = footprints();
    EXPECT_EQ(found.at(6), 1000 * kPage + kGigabyte / 4);
    EXPECT_EQ(timesRead("5/smaps_rollup"), 0);
    sharing(4, "new", 1000, 20480, kGigabyteInKiB / 8);
    proportional(4, 0);
    found = footprints();
    EXPECT_EQ(timesRead("4/smaps_rollup"), 0);
    EXPECT_EQ(found.at(5), 1000 * kPage + kGigabyte / 4);
    EXPECT_EQ(found.at(7), 1000 * kPage + 3 * kGigabyte) << "what the others leave is enough";
    EXPECT_EQ(timesRead("6/smaps_rollup"), 1);
    EXPECT_EQ(timesRead("7/smaps_rollup"), 0);
}

TEST_F(SharedMemory, OfAnotherUsersProcessesIsWhatThereIsBesides) {
    sharing(5, "mine", 1000, 20480, kGigabyteInKiB);
    sharing(6, "other's", 1000, 20480, kGigabyteInKiB);
    proportional(5, kGigabyteInKiB / 2);
    shmem(kGigabyteInKiB);
    calls_.failOpen = [](const std::string& path) { return path == "6/smaps_rollup" ? EACCES : 0; };
    footprints();
    const auto found = footprints();
    EXPECT_EQ(found.at(5), 1000 * kPage + kGigabyte / 2);
    EXPECT_EQ(found.at(6), 1000 * kPage + kGigabyte / 2);
}

TEST_F(SharedMemory, IsBesideWhatIsSwappedOut) {
    sharing(5, "vm", 1000, 20480, kGigabyteInKiB);
    tree_.write("proc/5/status", "Name:\tx\nPPid:\t1\nRssShmem:\t1048576 kB\nVmSwap:\t40 kB\n");
    tree_.write("proc/meminfo",
                "MemTotal: 64000000 kB\nShmem: 1048576 kB\nSwapTotal: 90 kB\nSwapFree: 9 kB\n");
    EXPECT_EQ(footprints().at(5), 1000 * kPage + kGigabyte + 40 * kKiB);
    EXPECT_EQ(timesRead("5/status"), 1);
}

TEST_F(SharedMemory, OfAKernelThatDoesNotTellIsNone) {
    sharing(5, "vm", 1000, 20480, kGigabyteInKiB);
    tree_.write("proc/5/status", "Name:\tx\nPPid:\t1\nVmSwap:\t0 kB\n");
    shmem(kGigabyteInKiB);
    for (int listing = 0; listing < 11; ++listing) {
        EXPECT_EQ(footprints().at(5), 1000 * kPage);
    }
    EXPECT_LE(timesRead("5/status"), 2);
}

// Real processes.

/// A child that has done something and waits to be ended.
class Child {
  public:
    explicit Child(const std::function<void()>& work) {
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) != 0) {
            return;
        }
        pid_ = ::fork();
        if (pid_ == 0) {
            work();
            ::close(ends[1]);
            for (;;) {
                ::pause();
            }
        }
        ::close(ends[1]);
        char end = 0;
        while (::read(ends[0], &end, 1) > 0) {
        }
        ::close(ends[0]);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
    }
    pid_t pid() const { return pid_; }

  private:
    pid_t pid_ = -1;
};

char* mapped(int file, std::size_t size) {
    void* const memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE,
                                file < 0 ? MAP_SHARED | MAP_ANONYMOUS : MAP_SHARED, file, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<char*>(memory);
}

/// Writes to each page. Thread sanitizers keep memory of their own for each byte that they see
/// written, which would be the child's.
__attribute__((no_sanitize("thread"))) void fill(char* memory, std::size_t size) {
    constexpr std::size_t kStep = 4096; // at most a page
    volatile char* const bytes = memory;
    for (std::size_t at = 0; at < size; at += kStep) {
        bytes[at] = 1;
    }
}

class LiveSharedMemory : public testing::Test {
  protected:
    /// Megabytes that a child's footprint is above that of a child without shared memory.
    double megabytes(const Child& child) {
        processes_.listAllPids();
        const auto its = static_cast<double>(processes_.physFootprint(child.pid()).value_or(0));
        const auto empty = static_cast<double>(processes_.physFootprint(idle_.pid()).value_or(0));
        return (its - empty) / static_cast<double>(kMegabyte);
    }

    static constexpr std::size_t kSize = 400 * kMegabyte;
    static constexpr double kTolerance = 8; // MB; others on the machine come and go

    LinuxProcesses processes_;
    Child idle_{[] {}};
};

TEST_F(LiveSharedMemory, WrittenToAMemfdCounts) {
    const Child child([] {
        const int file = ::memfd_create("test", 0);
        char* const memory = ::ftruncate(file, kSize) == 0 ? mapped(file, kSize) : nullptr;
        fill(memory, kSize);
    });
    EXPECT_NEAR(megabytes(child), 400, kTolerance);
}

TEST_F(LiveSharedMemory, WithoutANameCounts) {
    const Child child([] { fill(mapped(-1, kSize), kSize); });
    EXPECT_NEAR(megabytes(child), 400, kTolerance);
}

TEST_F(LiveSharedMemory, OfSystemVCounts) {
    const int segment = ::shmget(IPC_PRIVATE, kSize, IPC_CREAT | 0600);
    if (segment < 0) {
        GTEST_SKIP() << "no segment of this size here: " << std::strerror(errno);
    }
    const Child child([&] { fill(static_cast<char*>(::shmat(segment, nullptr, 0)), kSize); });
    ::shmctl(segment, IPC_RMID, nullptr);
    EXPECT_NEAR(megabytes(child), 400, kTolerance);
}

TEST_F(LiveSharedMemory, OfTwoIsHalfForEach) {
    char* const memory = mapped(-1, kSize);
    ASSERT_NE(memory, nullptr);
    const auto write = [&] { fill(memory, kSize); };
    const Child one(write);
    const Child other(write);
    megabytes(one); // they are measured one at a listing
    EXPECT_NEAR(megabytes(one), 200, kTolerance);
    EXPECT_NEAR(megabytes(other), 200, kTolerance);
    ::munmap(memory, kSize);
}

TEST_F(LiveSharedMemory, ThatNoProcessMapsIsNobodys) {
    const Child child([] {
        const int file = ::memfd_create("test", 0);
        const std::vector<char> bytes(kMegabyte, 1);
        for (int i = 0; i < 100; ++i) {
            if (::write(file, bytes.data(), bytes.size()) < 0) {
                ::_exit(1);
            }
        }
    });
    EXPECT_NEAR(megabytes(child), 0, kTolerance);
}

} // namespace
} // namespace korvel::platform
