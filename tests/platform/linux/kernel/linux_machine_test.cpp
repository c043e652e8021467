#include "platform/linux/kernel/linux_machine.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/kernel/counting_calls.h"
#include "platform/linux/kernel/kernel_trees.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

TEST(LinuxMachine, ReadsALaptopWithThermalZonesAndCompressedSwap) {
    LinuxMachine machine(fixture("laptop"));
    const auto reading = machine.read();
    const std::uint64_t page = reading->pageSize();
    EXPECT_EQ(reading->physicalMemory(), 16116236 * kKiB);
    EXPECT_EQ(reading->processorCount(), 8);
    EXPECT_EQ(reading->thermalState(), 0) << "the disabled zone is over its trip point";
    const auto pages = reading->vmStatistics();
    ASSERT_TRUE(pages);
    EXPECT_EQ(availablePages(*pages), 5862108 * kKiB / page);
    EXPECT_EQ(pages->free_count, 731932 * kKiB / page);
    EXPECT_EQ(pages->compressor_page_count, 640221184 / page);
    EXPECT_EQ(pages->wire_count, (301000 + 24064 + 88120 + 1200 + 14080 + 112) * kKiB / page);
    EXPECT_EQ(usedPages(*pages), 16116236 * kKiB / page - 5862108 * kKiB / page);
    EXPECT_EQ(pages->swapouts, 512044 * page / (16 * kKiB));
    EXPECT_EQ(reading->memoryPressureLevel(), 1);
    const auto swap = reading->swapUsage();
    ASSERT_TRUE(swap);
    EXPECT_EQ(swap->xsu_total, 8058108 * kKiB);
    EXPECT_EQ(swap->xsu_used, (8058108 - 6010108) * kKiB);
    EXPECT_EQ(reading->loadAverages(), (std::array{1.27, 0.94, 0.81}));
    EXPECT_EQ(reading->bootTime(), 1763600000);
    EXPECT_TRUE(reading->cpuTicks());
}

TEST(LinuxMachine, ReadsAServerWith128Processors) {
    LinuxMachine machine(fixture("server_128_processors"));
    const auto reading = machine.read();
    EXPECT_EQ(reading->physicalMemory(), 528280572 * kKiB);
    EXPECT_EQ(reading->processorCount(), 128);
    const auto pages = reading->vmStatistics();
    ASSERT_TRUE(pages);
    EXPECT_EQ(availablePages(*pages), 410220112 * kKiB / reading->pageSize());
    EXPECT_GE(pages->wire_count, 16777216 * kKiB / reading->pageSize()) << "huge pages are held";
    EXPECT_EQ(pages->compressor_page_count, 0U);
    EXPECT_TRUE(reading->cpuTicks());
    EXPECT_EQ(reading->bootTime(), 1751000000);
    EXPECT_EQ(reading->loadAverages().value().front(), 41.9);
}

TEST(LinuxMachine, ReadsAContainerWithoutPressureFileThermalZonesOrSwap) {
    LinuxMachine machine(fixture("container"));
    const auto reading = machine.read();
    EXPECT_EQ(reading->processorCount(), 2);
    EXPECT_EQ(reading->thermalState(), 0);
    EXPECT_EQ(reading->memoryPressureLevel(), 1) << "by available memory";
    const auto swap = reading->swapUsage();
    ASSERT_TRUE(swap);
    EXPECT_EQ(swap->xsu_total, 0U);
    EXPECT_EQ(swap->xsu_used, 0U);
    ASSERT_TRUE(reading->vmStatistics());
    EXPECT_EQ(reading->vmStatistics()->swapouts, 0U);
}

TEST(LinuxMachine, WhereThePressureFileCannotBeReadAvailableMemoryDecides) {
    LinuxMachine opened(fixture("pressure_unreadable"));
    EXPECT_EQ(opened.read()->memoryPressureLevel(), 2) << "nine percent are available";

    TempTree tree;
    tree.copyFixture("laptop");
    CountingCalls calls;
    int pressure = -1;
    calls.failOpen = [&](const std::string& path) {
        // The next descriptor to be given out is the lowest free one.
        if (path.ends_with("proc/pressure/memory")) {
            pressure = ::dup(0);
            ::close(pressure);
        }
        return 0;
    };
    calls.failRead = [&](int file) { return file == pressure ? EOPNOTSUPP : 0; };
    tree.write("proc/meminfo", "MemTotal: 1000 kB\nMemFree: 10 kB\nMemAvailable: 40 kB\n"
                               "SwapTotal: 0 kB\nSwapFree: 0 kB\n");
    LinuxMachine unsupported(tree.root(), "/", calls);
    EXPECT_EQ(unsupported.read()->memoryPressureLevel(), 4);
    EXPECT_GE(pressure, 0);
}

TEST(LinuxMachine, StallsAreUnreportedWhereTheKernelGivesNoFigures) {
    EXPECT_FALSE(LinuxMachine(fixture("laptop")).read()->unreported().memoryStall);
    for (const char* without : {"container", "pressure_unreadable", "kernel_3_2"}) {
        EXPECT_TRUE(LinuxMachine(fixture(without)).read()->unreported().memoryStall) << without;
    }
    EXPECT_FALSE(LinuxMachine("/nowhere/at/all").read()->unreported().memoryStall)
        << "without any memory figures, the whole reading has failed";
}

TEST(LinuxMachine, OnAKernelWithoutItsOwnEstimateAvailableMemoryIsReckoned) {
    LinuxMachine machine(fixture("kernel_3_2"));
    const auto reading = machine.read();
    const auto pages = reading->vmStatistics();
    ASSERT_TRUE(pages);
    EXPECT_EQ(availablePages(*pages),
              (102400 + 20480 + (409600 - 10240) + 20480) * kKiB / reading->pageSize());
    EXPECT_EQ(reading->processorCount(), 1) << "by the processors that /proc/stat lists";
    EXPECT_EQ(reading->bootTime(), 1330000000);
    EXPECT_TRUE(reading->cpuTicks());
}

TEST(LinuxMachine, PressureFiguresGiveTheLevel) {
    TempTree tree;
    tree.copyFixture("laptop");
    LinuxMachine machine(tree.root());
    EXPECT_EQ(machine.read()->memoryPressureLevel(), 1);
    tree.write("proc/pressure/memory", "some avg10=22.00 avg60=0.00 avg300=0.00 total=1\n"
                                       "full avg10=11.00 avg60=0.00 avg300=0.00 total=1\n");
    EXPECT_EQ(machine.read()->memoryPressureLevel(), 4);
    tree.write("proc/pressure/memory", "some avg10=22.00 avg60=0.00 avg300=0.00 total=1\n"
                                       "full avg10=1.00 avg60=0.00 avg300=0.00 total=1\n");
    EXPECT_EQ(machine.read()->memoryPressureLevel(), 2);
}

struct Spoiled {
    const char* name;
    std::string text;
};

const std::vector<Spoiled>& spoiledTexts() {
    static const std::vector<Spoiled> texts = {
        {"empty", ""},
        {"newlines", "\n\n\n"},
        {"binary", std::string("\x7f\x45LF\0\0\xff\xfe\n\0", 10)},
        {"text", "nothing of the kind\n"},
        {"one long line", std::string(100000, '9')},
    };
    return texts;
}

TEST(LinuxMachine, AFileThatIsMissingOrSpoiltFailsItsOwnReadingsAlone) {
    const std::vector<std::string> files = {
        "proc/meminfo",         "proc/stat",
        "proc/vmstat",          "proc/loadavg",
        "proc/pressure/memory", "sys/devices/system/cpu/online"};
    for (const std::string& file : files) {
        std::vector<Spoiled> cases = spoiledTexts();
        cases.push_back({"missing", ""});
        cases.push_back({"a directory", ""});
        for (const Spoiled& spoiled : cases) {
            SCOPED_TRACE(file + " " + spoiled.name);
            TempTree tree;
            tree.copyFixture("laptop");
            tree.remove(file);
            if (spoiled.name == std::string("a directory")) {
                tree.write(file + "/inside", "x\n");
            } else if (spoiled.name != std::string("missing")) {
                tree.write(file, spoiled.text);
            }
            LinuxMachine machine(tree.root());
            const auto reading = machine.read();
            const bool memory = file != "proc/meminfo";
            EXPECT_EQ(reading->physicalMemory().has_value(), memory);
            EXPECT_EQ(reading->vmStatistics().has_value(), memory);
            EXPECT_EQ(reading->swapUsage().has_value(), memory);
            EXPECT_EQ(reading->memoryPressureLevel().has_value(), memory);
            EXPECT_EQ(reading->cpuTicks().has_value(), file != "proc/stat");
            EXPECT_EQ(reading->bootTime().has_value(), file != "proc/stat");
            EXPECT_EQ(reading->loadAverages().has_value(), file != "proc/loadavg");
            EXPECT_EQ(reading->processorCount(), 8);
            if (memory) {
                EXPECT_EQ(reading->vmStatistics()->swapouts > 0, file != "proc/vmstat");
            }
        }
    }
}

TEST(LinuxMachine, SpoiltDevicesAndZonesAreLeftOut) {
    for (const Spoiled& spoiled : spoiledTexts()) {
        SCOPED_TRACE(spoiled.name);
        TempTree tree;
        tree.copyFixture("laptop");
        tree.write("sys/block/zram0/mm_stat", spoiled.text);
        tree.write("sys/block/zram1/mm_stat", "8192 4096 40960 0 0 0 0 0 0\n");
        for (const char* part : {"temp", "mode", "trip_point_0_type", "trip_point_0_temp"}) {
            tree.write(std::string("sys/class/thermal/thermal_zone0/") + part, spoiled.text);
        }
        LinuxMachine machine(tree.root());
        const auto reading = machine.read();
        ASSERT_TRUE(reading->vmStatistics());
        EXPECT_EQ(reading->vmStatistics()->compressor_page_count, 40960 / reading->pageSize());
        EXPECT_EQ(reading->thermalState(), 0);
    }
}

TEST(LinuxMachine, CompressedMemoryIsThatOfZswapAndOfEveryDevice) {
    TempTree tree;
    tree.write("proc/meminfo", "MemTotal: 4000000 kB\nMemFree: 100 kB\nMemAvailable: 200000 kB\n"
                               "Zswap: 400 kB\n");
    tree.write("sys/block/zram0/mm_stat", "8192 4096 409600 0 0 0 0 0 0\n");
    tree.write("sys/block/zram1/mm_stat", "1 1 819200\n");
    tree.write("sys/block/sda/mm_stat", "1 1 99999999\n");
    LinuxMachine machine(tree.root());
    const auto reading = machine.read();
    ASSERT_TRUE(reading->vmStatistics());
    EXPECT_EQ(reading->vmStatistics()->compressor_page_count,
              (400 * kKiB + 409600 + 819200) / reading->pageSize());
}

TEST(MmStat, TheFirstNumberIsWhatIsStoredAndTheThirdTheMemoryUsed) {
    for (const char* text : {"1 2 3\n", "      1        2        3        4 later ones\n"}) {
        const auto use = parseMmStat(text);
        ASSERT_TRUE(use) << text;
        EXPECT_EQ(use->stored, 1U);
        EXPECT_EQ(use->memoryUsed, 3U);
    }
    for (const char* bad : {"", "1 2\n", "1 2 3", "1 2 x\n", "1 2 -3\n", "x 2 3\n"}) {
        EXPECT_FALSE(parseMmStat(bad)) << '"' << bad << '"';
    }
}

TEST(LinuxMachine, ASwapoutCountThatCannotBeReadLeavesTheLastOne) {
    TempTree tree;
    tree.copyFixture("laptop");
    LinuxMachine machine(tree.root());
    const std::uint64_t page = machine.read()->pageSize();
    EXPECT_EQ(machine.read()->vmStatistics()->swapouts, 512044 * page / (16 * kKiB));
    tree.write("proc/vmstat", "");
    EXPECT_EQ(machine.read()->vmStatistics()->swapouts, 512044 * page / (16 * kKiB));
    tree.write("proc/vmstat", "pswpin 1\npswpout 600000\n");
    EXPECT_EQ(machine.read()->vmStatistics()->swapouts, 600000 * page / (16 * kKiB));
}

TEST(LinuxMachine, AReadingIsTakenAnewEachTime) {
    TempTree tree;
    tree.copyFixture("laptop");
    LinuxMachine machine(tree.root());
    EXPECT_EQ(machine.read()->physicalMemory(), 16116236 * kKiB);
    tree.write("proc/meminfo", "MemTotal: 1000 kB\nMemFree: 1 kB\n");
    EXPECT_EQ(machine.read()->physicalMemory(), 1000 * kKiB);
    tree.write("proc/meminfo", "");
    EXPECT_FALSE(machine.read()->physicalMemory());
}

TEST(LinuxMachine, TicksAreThoseSinceTheFirstReading) {
    TempTree tree;
    LinuxMachine machine(tree.root());
    EXPECT_FALSE(machine.read()->cpuTicks()) << "no file yet";
    TempTree later;
    later.write("proc/stat", "cpu0 100 10 50 1000 5 1 1 1 0 0\ncpu1 100 10 50 1000 5 1 1 1 0 0\n");
    LinuxMachine second(later.root());
    EXPECT_EQ(second.read()->cpuTicks()->idle, 0U);
    later.write("proc/stat", "cpu0 200 10 50 1000 5 1 1 1 0 0\ncpu1 100 10 50 1100 5 1 1 1 0 0\n");
    const auto ticks = second.read()->cpuTicks();
    EXPECT_EQ(ticks->user, 50U);
    EXPECT_EQ(ticks->idle, 50U);
}

TEST(DataVolume, APathThatIsNotThereHasNone) {
    EXPECT_FALSE(LinuxMachine("/", "/nowhere/at/all").read()->dataVolume());
    EXPECT_TRUE(LinuxMachine("/", "/").read()->dataVolume());
}

} // namespace
} // namespace korvel::platform
