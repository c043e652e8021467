// The readings of this machine beside what independent tools say of it. Figures that move are asked
// of the tool before and after, and have to lie between, with the tolerance that each test states.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/linux_processes.h"
#include "platform/linux/kernel/swapouts.h"

namespace korvel::platform {
namespace {

/// What a command prints; none when it cannot be run.
std::optional<std::string> outputOf(const std::string& command) {
    const std::string line = "LC_ALL=C " + command + " 2>/dev/null";
    FILE* const pipe = ::popen(line.c_str(), "r");
    if (pipe == nullptr) {
        return std::nullopt;
    }
    std::string output;
    std::array<char, 4096> buffer;
    for (std::size_t got = 0; (got = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
        output.append(buffer.data(), got);
    }
    return ::pclose(pipe) == 0 ? std::optional(output) : std::nullopt;
}

std::vector<double> numbers(const std::string& text) {
    std::istringstream words(text);
    std::vector<double> result;
    for (std::string word; words >> word;) {
        char* end = nullptr;
        const double number = std::strtod(word.c_str(), &end);
        if (end != word.c_str()) {
            result.push_back(number);
        }
    }
    return result;
}

/// The numbers of a command's output; a test is skipped, and says so, where there are none.
// NOLINTBEGIN(bugprone-macro-parentheses): the first argument is a name
#define NUMBERS_OR_SKIP(variable, command)                                                         \
    const std::optional<std::string> variable##Text = outputOf(command);                           \
    if (!variable##Text) {                                                                         \
        GTEST_SKIP() << "cannot be run here: " << (command);                                       \
    }                                                                                              \
    const std::vector<double> variable = numbers(*variable##Text)
// NOLINTEND(bugprone-macro-parentheses)

void expectBetween(double value, double before, double after, double tolerance) {
    EXPECT_GE(value, std::min(before, after) - tolerance);
    EXPECT_LE(value, std::max(before, after) + tolerance);
}

double asDouble(std::uint64_t number) {
    return static_cast<double>(number);
}

TEST(LiveMachine, MemoryAndSwapAreThoseOfFree) {
    // Total exact; available and free within two percent of the total, as other programs run.
    const std::string command = "free -b -w | awk 'NR==2 {print $2, $4, $NF} NR==3 {print $2, $3}'";
    LinuxMachine machine;
    NUMBERS_OR_SKIP(before, command);
    const auto pages = machine.read()->vmStatistics();
    const auto swap = machine.read()->swapUsage();
    NUMBERS_OR_SKIP(after, command);
    ASSERT_EQ(before.size(), 5U);
    ASSERT_EQ(after.size(), 5U);
    ASSERT_TRUE(pages && swap);
    const double page = asDouble(machine.read()->pageSize());
    const double total = before[0];
    EXPECT_EQ(asDouble(machine.read()->physicalMemory().value_or(0)), total);
    const double available = page * (double{1} * pages->free_count + pages->inactive_count +
                                     pages->speculative_count + pages->purgeable_count);
    expectBetween(available, before[2], after[2], total * 0.02);
    expectBetween(page * pages->free_count, std::min(before[1], before[2]),
                  std::min(after[1], after[2]), total * 0.02);
    const double used =
        page * (double{1} * pages->active_count + pages->wire_count + pages->compressor_page_count);
    expectBetween(used, total - before[2], total - after[2], total * 0.02);
    EXPECT_EQ(asDouble(swap->xsu_total), before[3]);
    expectBetween(asDouble(swap->xsu_used), before[4], after[4], total * 0.01);
}

TEST(LiveMachine, SwapoutsAreNoMoreThanVmstatsAndBootTimeIsVmstats) {
    // vmstat counts what goes to zram as well; the boot time within a second, for its rounding.
    const std::string command =
        "vmstat -s | awk '/pages swapped out/ {print $1} /boot time/ {print $1}'";
    LinuxMachine machine;
    NUMBERS_OR_SKIP(before, command);
    const auto pages = machine.read()->vmStatistics();
    const auto page = static_cast<double>(machine.read()->pageSize());
    const auto boot = machine.read()->bootTime();
    NUMBERS_OR_SKIP(after, command);
    ASSERT_EQ(before.size(), 2U);
    ASSERT_TRUE(pages && boot);
    EXPECT_LE(asDouble(pages->swapouts) * SwapoutCounter::kPage, after[0] * page);
    expectBetween(static_cast<double>(*boot), before[1], after[1], 1);
}

TEST(LiveMachine, TheBusyShareIsThatOfVmstat) {
    // Over the same two seconds; within fifteen points, for the time that starting the tool takes.
    LinuxMachine machine;
    const auto first = machine.read()->cpuTicks();
    NUMBERS_OR_SKIP(columns, "vmstat -n 2 2 | tail -n 1 | awk '{print $15 + $16}'");
    const auto second = machine.read()->cpuTicks();
    ASSERT_EQ(columns.size(), 1U);
    ASSERT_TRUE(first && second);
    const double idle = second->idle - first->idle;
    const double busy = double{1} * (second->user - first->user) +
                        (second->system - first->system) + (second->nice - first->nice);
    ASSERT_GT(idle + busy, 100) << "ticks in two seconds";
    EXPECT_NEAR(idle / (idle + busy) * 100, columns[0], 15);
}

TEST(LiveMachine, TicksOfASecondAreAboutAHundredPerProcessor) {
    // Within a quarter: a tick is a hundredth of a second, whatever the number of processors.
    LinuxMachine machine;
    const auto start = std::chrono::steady_clock::now();
    const auto first = machine.read()->cpuTicks();
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const auto second = machine.read()->cpuTicks();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    ASSERT_TRUE(first && second);
    const double ticks = double{1} * (second->user - first->user) +
                         (second->system - first->system) + (second->nice - first->nice) +
                         (second->idle - first->idle);
    EXPECT_NEAR(ticks / seconds.count(), static_cast<double>(::sysconf(_SC_CLK_TCK)), 25);
}

TEST(LiveMachine, TheVolumeIsThatOfDf) {
    // The size exact; used and available within a gigabyte, as other programs write.
    const std::string command = "df -B1 --output=size,used,avail / | tail -n 1";
    LinuxMachine machine("/", "/");
    NUMBERS_OR_SKIP(before, command);
    const auto volume = machine.read()->dataVolume();
    NUMBERS_OR_SKIP(after, command);
    ASSERT_EQ(before.size(), 3U);
    ASSERT_TRUE(volume);
    const double block = asDouble(volume->f_bsize);
    constexpr double kGigabyte = 1 << 30;
    EXPECT_EQ(block * asDouble(volume->f_blocks), before[0]);
    expectBetween(block * asDouble(volume->f_blocks - volume->f_bfree), before[1], after[1],
                  kGigabyte);
    expectBetween(block * asDouble(volume->f_bavail), before[2], after[2], kGigabyte);
}

TEST(LiveMachine, TheLoadIsThatOfUptime) {
    // Between the two answers, which have two digits.
    const std::string command = "uptime | sed 's/.*load average: //; s/,/ /g'";
    LinuxMachine machine;
    NUMBERS_OR_SKIP(before, command);
    const auto load = machine.read()->loadAverages();
    NUMBERS_OR_SKIP(after, command);
    ASSERT_EQ(before.size(), 3U);
    ASSERT_TRUE(load);
    for (std::size_t i = 0; i < load->size(); ++i) {
        expectBetween((*load)[i], before[i], after[i], 0.01);
    }
}

TEST(LiveMachine, TheBootTimeIsThatOfUptime) {
    // Within two seconds, for the rounding of both.
    NUMBERS_OR_SKIP(since, "date -d \"$(uptime -s)\" +%s");
    LinuxMachine machine;
    ASSERT_EQ(since.size(), 1U);
    EXPECT_NEAR(static_cast<double>(machine.read()->bootTime().value_or(0)), since[0], 2);
}

TEST(LiveMachine, ProcessorsAndPagesAreThoseOfGetconfAndNproc) {
    LinuxMachine machine;
    NUMBERS_OR_SKIP(online, "getconf _NPROCESSORS_ONLN");
    NUMBERS_OR_SKIP(page, "getconf PAGESIZE");
    NUMBERS_OR_SKIP(pages, "getconf _PHYS_PAGES");
    NUMBERS_OR_SKIP(usable, "nproc");
    EXPECT_EQ(machine.read()->processorCount(), online.at(0));
    EXPECT_EQ(asDouble(machine.read()->pageSize()), page.at(0));
    EXPECT_EQ(asDouble(machine.read()->physicalMemory().value_or(0)), pages.at(0) * page.at(0));
    EXPECT_GE(machine.read()->processorCount(), usable.at(0))
        << "fewer where this program is bound";
}

TEST(LiveProcesses, TheListIsThatOfPs) {
    // Each process that ps lists before and after is listed between.
    const std::string command = "ps -e -o pid=";
    LinuxProcesses processes;
    NUMBERS_OR_SKIP(before, command);
    const std::vector<std::int32_t> pids = processes.listAllPids();
    NUMBERS_OR_SKIP(after, command);
    std::size_t common = 0;
    for (const double pid : before) {
        if (std::find(after.begin(), after.end(), pid) != after.end()) {
            ++common;
            EXPECT_TRUE(std::binary_search(pids.begin(), pids.end(), static_cast<int>(pid))) << pid;
        }
    }
    EXPECT_GT(common, 0U);
    EXPECT_NEAR(asDouble(pids.size()), asDouble(common), 50) << "those that come and go";
    EXPECT_TRUE(std::binary_search(pids.begin(), pids.end(), ::getpid()));
}

TEST(LiveProcesses, AFootprintIsWhatTheProcessHasWrittenAndAtMostWhatPsFindsResident) {
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
    GTEST_SKIP() << "the thread sanitizer keeps two more bytes for each that is written";
#endif
#endif
    // Anonymous memory counts and a mapped file does not: within 8 MiB of what was written.
    constexpr std::size_t kSize = std::size_t{64} << 20;
    LinuxProcesses processes;
    processes.listAllPids();
    const std::uint64_t before = processes.physFootprint(::getpid()).value_or(0);
    std::vector<char> written(kSize);
    std::memset(written.data(), 1, written.size());
    const std::uint64_t after = processes.physFootprint(::getpid()).value_or(0);
    NUMBERS_OR_SKIP(resident, "ps -o rss= -p " + std::to_string(::getpid()));
    EXPECT_NEAR(asDouble(after) - asDouble(before), asDouble(kSize), 8 << 20) << written[kSize / 2];
    ASSERT_EQ(resident.size(), 1U);
    EXPECT_LE(asDouble(after), resident[0] * 1024 + (2 << 20));
}

TEST(LiveProcesses, NamesAreThoseOfPs) {
    // Each process that ps names the same before and after; of a cut name, its beginning.
    const std::string command = "ps -e -o pid=,comm=";
    LinuxProcesses processes;
    const auto before = outputOf(command);
    if (!before) {
        GTEST_SKIP() << "cannot be run here: " << command;
    }
    processes.listAllPids();
    std::vector<std::string> lines;
    std::istringstream text(*before);
    for (std::string line; std::getline(text, line);) {
        const std::int32_t pid = std::atoi(line.c_str());
        const std::size_t start =
            line.find_first_not_of(' ', line.find_first_of(' ', line.find_first_not_of(' ')));
        std::string comm = start == std::string::npos ? std::string() : line.substr(start);
        if (const std::size_t defunct = comm.find(" <defunct>"); defunct != std::string::npos) {
            comm.resize(defunct);
        }
        lines.push_back(std::to_string(pid) + " " + comm + " / " + processes.name(pid));
    }
    const auto after = outputOf(command);
    std::size_t checked = 0;
    for (const std::string& line : lines) {
        const std::size_t slash = line.find(" / ");
        const std::string known = line.substr(0, slash);
        const std::string pid = known.substr(0, known.find(' '));
        const std::string comm = known.substr(pid.size() + 1);
        const bool stays = after->find(pid + " " + comm + "\n") != std::string::npos;
        const bool plain = comm.find_first_of("?\\") == std::string::npos; // ps masks odd bytes
        // The name of a worker of the kernel says from moment to moment whether it is at work.
        if (stays && plain && !comm.starts_with("kworker/")) {
            ++checked;
            EXPECT_EQ(line.substr(slash + 3).substr(0, comm.size()), comm) << line;
        }
    }
    EXPECT_GT(checked, 0U);
}

} // namespace
} // namespace korvel::platform
