#include "platform/linux/kernel/swapouts.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/kernel/counting_calls.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

constexpr const char* kSwapsHeading = "Filename\t\t\t\tType\t\tSize\t\tUsed\t\tPriority\n";
constexpr const char* kZram0 =
    "/dev/zram0                              partition\t8058108\t\t2048000\t\t100\n";
constexpr const char* kDisk =
    "/dev/nvme0n1p3                          partition\t8388604\t\t0\t\t-2\n";
constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20;
constexpr std::uint64_t kMebibyteOfPages = kMebibyte / SwapoutCounter::kPage;

std::string statOf(std::uint64_t bytesWritten) {
    return "    213        0     4344        1 " + std::to_string(bytesWritten / 4096) + " 0 " +
           std::to_string(bytesWritten / 512) + "     2620        0     1996     2621\n";
}

/// Swap areas and zram devices in a tree, and what the kernel counts.
class SwapoutCount : public testing::Test {
  protected:
    void areas(const std::string& lines) { tree.write("proc/swaps", kSwapsHeading + lines); }

    void zram(const std::string& name, std::uint64_t bytesWritten) {
        tree.write("sys/block/" + name + "/stat", statOf(bytesWritten));
        tree.write("sys/block/" + name + "/mm_stat", "1 1 4096\n");
    }

    void backing(const std::string& name, std::uint64_t bytesWritten) {
        tree.write("sys/block/" + name + "/bd_stat",
                   "  100  20 " + std::to_string(bytesWritten / 4096) + "\n");
    }

    /// What is counted once `bytes` were written to swap areas since boot: mebibytes.
    double counted(std::uint64_t bytes) {
        allZrams.use();
        return static_cast<double>(counter.count(bytes / 4096, 4096)) / kMebibyteOfPages;
    }

    TempTree tree;
    CountingCalls calls;
    ZramReader allZrams{calls, tree.root() + "/"};
    SwapoutCounter counter{calls, tree.root() + "/", allZrams};
};

TEST(SwapAreas, AreTheLinesBelowTheHeading) {
    struct Case {
        const char* name;
        std::string lines;
        std::vector<std::string> zrams;
        bool others;
    };
    for (const Case& c : std::vector<Case>{
             {"none", "", {}, false},
             {"zram", kZram0, {"zram0"}, false},
             {"a disk", kDisk, {}, true},
             {"both", std::string(kDisk) + kZram0, {"zram0"}, true},
             {"zram1 is not zram10",
              "/dev/zram10 partition 1 0 5\n/dev/zram1 partition 1 0 5\n",
              {"zram10", "zram1"},
              false},
             {"in a folder of its own",
              "/dev/block/zram0 partition 3145724 0 -2\n",
              {"zram0"},
              false},
             {"deleted", "/dev/zram0\\040(deleted) partition 1 0 5\n", {"zram0"}, false},
             {"a file of that name", "/var/zram0 file 1 0 5\n", {}, true},
             {"a file with blanks", "/var/my\\040swap\\011file file 1 0 5\n", {}, true},
             {"a deleted file", "/swapfile\\040(deleted) file 1 0 5\n", {}, true},
             {"an encrypted partition", "/dev/dm-1 partition 1 0 5\n", {}, true},
             {"a name that only begins so", "/dev/zramdisk partition 1 0 5\n", {}, true},
             {"a name without a number", "/dev/zram partition 1 0 5\n", {}, true},
         }) {
        const auto areas = parseSwapAreas(kSwapsHeading + c.lines);
        ASSERT_TRUE(areas) << c.name;
        EXPECT_EQ(areas->zrams, c.zrams) << c.name;
        EXPECT_EQ(areas->others, c.others) << c.name;
    }
}

TEST(SwapAreas, WhatIsNotTheKernelsListIsNone) {
    const std::string heading = kSwapsHeading;
    for (const std::string& text :
         {std::string(), std::string("garbage\n"), std::string(kZram0), std::string("Filename"),
          heading + "none virtual 8058108 0 0\n", heading + "/dev/zram0\n", heading + "\n"}) {
        EXPECT_FALSE(parseSwapAreas(text)) << '"' << text << '"';
    }
}

TEST(SwapAreas, OfCompressedDevicesTellWhatIsFree) {
    const std::string heading = kSwapsHeading;
    const auto free = [&](const std::string& lines) {
        return parseSwapAreas(heading + lines).value_or(SwapAreas()).zramFree;
    };
    EXPECT_EQ(free("/dev/zram0 partition 1000\t\t300\t\t100\n"
                   "/dev/sda2\tpartition\t9999\t0\t-2\n/swap\\040file\tfile\t9999\t0\t-3\n"
                   "/dev/zram10 partition 50 10 100\n"),
              std::uint64_t{700 + 40} * 1024);
    for (const char* line : {"/dev/zram0 partition\n", "/dev/zram0 partition 10\n",
                             "/dev/zram0 partition 10 x\n", "/dev/zram0 partition -10 0\n",
                             "/dev/zram0 partition 10 11\n", "/dev/zram0 partition 10 1"}) {
        EXPECT_EQ(free(line), 0U) << line;
    }
}

TEST(ZramCounters, AreInTheirOwnUnits) {
    EXPECT_EQ(parseBytesWritten("1 2 3 4 5 6 700 8 9 10 11\n"), 700U * 512);
    EXPECT_EQ(parseBackingBytes("      10     20    300\n"), 300U * 4096);
    for (const char* bad : {"", "1 2 3 4 5 6\n", "1 2 3 4 5 6 x 8\n", "1 2 3 4 5 6 7", "7\n"}) {
        EXPECT_FALSE(parseBytesWritten(bad)) << '"' << bad << '"';
    }
    for (const char* bad : {"", "1 2\n", "1 2 x\n", "1 2 3", "1 2 -3\n"}) {
        EXPECT_FALSE(parseBackingBytes(bad)) << '"' << bad << '"';
    }
}

TEST_F(SwapoutCount, PagesOfAnySizeCountAsTheirBytes) {
    areas(kDisk);
    const struct {
        std::uint64_t pageSize;
        std::uint64_t pages; ///< 16 MiB of them
    } cases[] = {{4096, 4096}, {16384, 1024}, {65536, 256}};
    for (const auto& row : cases) {
        SwapoutCounter other(calls, tree.root() + "/", allZrams);
        other.count(row.pages, row.pageSize);
        const std::uint64_t before = other.count(2 * row.pages, row.pageSize);
        EXPECT_EQ(other.count(3 * row.pages, row.pageSize) - before, 1024U) << row.pageSize;
    }
}

TEST_F(SwapoutCount, PartsOfAPageAreNotLost) {
    areas(kDisk);
    std::uint64_t last = 0;
    for (std::uint64_t pages = 1; pages <= 40; ++pages) {
        last = counter.count(pages, 4096);
    }
    EXPECT_EQ(last, 10U);
}

TEST_F(SwapoutCount, WhatGoesToZramAloneIsNotPagedOut) {
    areas(kZram0);
    zram("zram0", 100 * kMebibyte);
    EXPECT_EQ(counted(100 * kMebibyte), 0);
    zram("zram0", 900 * kMebibyte);
    EXPECT_EQ(counted(900 * kMebibyte), 0);
    tree.remove("sys/block/zram0/stat");
    EXPECT_EQ(counted(1900 * kMebibyte), 0);
}

TEST_F(SwapoutCount, OfADiskBesideZramTheDisksPartCounts) {
    areas(std::string(kZram0) + kDisk);
    zram("zram0", 100 * kMebibyte);
    EXPECT_EQ(counted(140 * kMebibyte), 40) << "since boot";
    zram("zram0", 300 * kMebibyte);
    EXPECT_EQ(counted(340 * kMebibyte), 40) << "all to zram";
    zram("zram0", 310 * kMebibyte);
    EXPECT_EQ(counted(400 * kMebibyte), 90);
    EXPECT_EQ(counted(500 * kMebibyte), 190) << "none to zram";
}

TEST_F(SwapoutCount, AFileSystemOnZramIsNoSwap) {
    areas(std::string("/dev/zram10 partition 1 0 5\n") + kDisk);
    zram("zram1", 0);
    zram("zram10", 0);
    EXPECT_EQ(counted(10 * kMebibyte), 10);
    zram("zram1", 700 * kMebibyte);
    zram("zram10", 20 * kMebibyte);
    EXPECT_EQ(counted(60 * kMebibyte), 40);
}

TEST_F(SwapoutCount, WhatZramWroteAfterPswpoutWasReadIsNotCountedByTheNextLook) {
    areas(std::string(kZram0) + kDisk);
    zram("zram0", 100 * kMebibyte);
    EXPECT_EQ(counted(100 * kMebibyte), 0);
    zram("zram0", 230 * kMebibyte); // 30 of which pswpout did not have yet
    EXPECT_EQ(counted(200 * kMebibyte), 0);
    zram("zram0", 350 * kMebibyte); // 50
    EXPECT_EQ(counted(300 * kMebibyte), 0);
    zram("zram0", 400 * kMebibyte);
    EXPECT_EQ(counted(400 * kMebibyte), 0);
    EXPECT_EQ(counted(500 * kMebibyte), 100) << "to the disk";
}

TEST_F(SwapoutCount, OtherWritesToZramHideNoMoreThanAnInterval) {
    areas(std::string(kZram0) + kDisk);
    zram("zram0", 100 * kMebibyte);
    EXPECT_EQ(counted(100 * kMebibyte), 0);
    zram("zram0", 9000 * kMebibyte);
    EXPECT_EQ(counted(200 * kMebibyte), 0);
    EXPECT_EQ(counted(300 * kMebibyte), 0);
    EXPECT_EQ(counted(400 * kMebibyte), 100);
}

TEST_F(SwapoutCount, AnIntervalThatCannotBeToldCountsNothing) {
    const struct {
        const char* name;
        std::function<void()> change;
    } cases[] = {
        {"a device came",
         [this] {
             areas(std::string(kZram0) + "/dev/zram1 partition 1 0 5\n" + kDisk);
             zram("zram1", 5 * kMebibyte);
         }},
        {"its counters started anew", [this] { zram("zram0", 0); }},
        {"its counters cannot be read", [this] { tree.write("sys/block/zram0/stat", "x\n"); }},
    };
    for (const auto& row : cases) {
        areas(std::string(kZram0) + kDisk);
        zram("zram0", 130 * kMebibyte); // 30 of which pswpout does not have yet
        SwapoutCounter other(calls, tree.root() + "/", allZrams);
        const auto mebibytes = [&](std::uint64_t bytes) {
            return other.count(bytes / 4096, 4096) / kMebibyteOfPages;
        };
        EXPECT_EQ(mebibytes(100 * kMebibyte), 0U) << row.name;
        row.change();
        EXPECT_EQ(mebibytes(200 * kMebibyte), 0U) << row.name;
        EXPECT_EQ(mebibytes(250 * kMebibyte), 50U) << row.name;
    }
}

TEST_F(SwapoutCount, ADiskThatJoinsZramCountsAfterAnInterval) {
    areas(kZram0);
    zram("zram0", 100 * kMebibyte);
    EXPECT_EQ(counted(100 * kMebibyte), 0);
    areas(std::string(kZram0) + kDisk);
    zram("zram0", 400 * kMebibyte);
    EXPECT_EQ(counted(450 * kMebibyte), 0);
    zram("zram0", 410 * kMebibyte);
    EXPECT_EQ(counted(500 * kMebibyte), 40);
    areas(kZram0);
    EXPECT_EQ(counted(600 * kMebibyte), 40);
}

TEST_F(SwapoutCount, ZramThatWasAFileSystemMeanwhileHidesNoMoreThanAnInterval) {
    areas(std::string(kZram0) + kDisk);
    zram("zram0", 100 * kMebibyte);
    EXPECT_EQ(counted(100 * kMebibyte), 0);
    areas(kDisk);
    EXPECT_EQ(counted(200 * kMebibyte), 100);
    areas(std::string(kZram0) + kDisk);
    zram("zram0", 9000 * kMebibyte);
    EXPECT_EQ(counted(300 * kMebibyte), 100);
    EXPECT_EQ(counted(400 * kMebibyte), 200);
}

TEST_F(SwapoutCount, WhatZramWritesToADiskBehindItCountsWhilePagesGoOut) {
    areas(kZram0);
    zram("zram0", 100 * kMebibyte);
    backing("zram0", 10 * kMebibyte);
    EXPECT_EQ(counted(100 * kMebibyte), 10) << "since boot";
    backing("zram0", 60 * kMebibyte);
    EXPECT_EQ(counted(200 * kMebibyte), 60);
    backing("zram0", 5000 * kMebibyte); // old pages, at leisure
    EXPECT_EQ(counted(200 * kMebibyte), 60);
    EXPECT_EQ(counted(201 * kMebibyte), 60);
    backing("zram0", 5010 * kMebibyte);
    EXPECT_EQ(counted(300 * kMebibyte), 70);
}

TEST_F(SwapoutCount, TheCountNeverFallsAndAStepBackOfTheKernelsCountsNothing) {
    areas(kDisk);
    EXPECT_EQ(counted(100 * kMebibyte), 100);
    EXPECT_EQ(counted(7 * kMebibyte), 100);
    EXPECT_EQ(counted(9 * kMebibyte), 102);
    EXPECT_GE(counter.count(~std::uint64_t{0}, 4096), 102U * kMebibyteOfPages);
    const std::uint64_t most = counter.count(1, 4096);
    EXPECT_EQ(counter.count(5, 4096), most + 1);
}

TEST_F(SwapoutCount, AKernelThatDoesNotTellAtFirstHasWrittenNothingJustNow) {
    areas(kDisk);
    EXPECT_EQ(counter.count(std::nullopt, 4096), 0U);
    EXPECT_EQ(counted(500 * kMebibyte), 0);
    EXPECT_EQ(counter.count(std::nullopt, 4096), 0U);
    EXPECT_EQ(counted(510 * kMebibyte), 10);
}

TEST_F(SwapoutCount, WithoutAListOfAreasEachZramIsOne) {
    zram("zram0", 100 * kMebibyte);
    EXPECT_EQ(counted(100 * kMebibyte), 0);
    zram("zram0", 200 * kMebibyte);
    EXPECT_EQ(counted(200 * kMebibyte), 0);
    EXPECT_EQ(counted(300 * kMebibyte), 100) << "there may be a disk as well";
    tree.write("proc/swaps", std::string(kSwapsHeading) + "none virtual 1 0 0\n");
    zram("zram0", 300 * kMebibyte);
    EXPECT_EQ(counted(400 * kMebibyte), 100);
}

TEST_F(SwapoutCount, WithoutAnAreaThePagesAreSomebodyElses) {
    areas("");
    EXPECT_EQ(counted(100 * kMebibyte), 0);
    EXPECT_EQ(counted(200 * kMebibyte), 0);
}

TEST_F(SwapoutCount, AZramThatDoesNotTellTakesNothingOff) {
    areas(std::string(kZram0) + kDisk);
    EXPECT_EQ(counted(100 * kMebibyte), 100);
    EXPECT_EQ(counted(200 * kMebibyte), 200);
}

TEST_F(SwapoutCount, NothingIsReadWhileNothingIsPagedOut) {
    areas(std::string(kZram0) + kDisk);
    zram("zram0", 100 * kMebibyte);
    backing("zram0", 0);
    counter.count(100, 4096);
    const int reads = calls.reads;
    const int opens = calls.opens;
    for (int sample = 0; sample < 50; ++sample) {
        counter.count(100, 4096);
    }
    EXPECT_EQ(calls.reads, reads);
    counter.count(101, 4096);
    EXPECT_EQ(calls.reads, reads + 2 + 2) << "the list to its end, and two files of the device";
    EXPECT_EQ(calls.opens, opens);
}

} // namespace
} // namespace korvel::platform
