// What script/pressure-calibration measures with: shows the figures and the level that the pressure
// rule makes of them, and puts memory under load.
//
//     pressure_probe watch SECONDS STALL_FILE [GROUP]
//         Every two seconds, a line: seconds, some, full, available percent, level. GROUP is a
//         memory control group that is taken for the whole machine.
//     pressure_probe machine SECONDS [PID]
//         Twice a second, of the machine as the program reads it, a line: seconds, some, full,
//         available percent, available and free swap in MiB, level. Ends with the process.
//     pressure_probe load MIB SECONDS [RANDOM_PERCENT]
//         Writes pages of so much memory at random; at the end, a line: pages a second. The rest of
//         each page, beside its random part, compresses to nothing.
//     pressure_probe grow FIRST_MIB MIB_A_SECOND [RANDOM_PERCENT]
//         Takes the first so much memory at once, then more and more, until it is killed.
//     pressure_probe map PATH MIB SECONDS
//         Reads that much of a file through a mapping, five times a second all of it.

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>

#include <fmt/format.h>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/meminfo.h"
#include "platform/linux/kernel/pressure.h"
#include "platform/linux/kernel/text_scan.h"

namespace {

using namespace korvel::platform;
using korvel::takeLine;
using korvel::wholeNumber;
using Clock = std::chrono::steady_clock;

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::uint64_t number(const std::string& text) {
    std::string_view rest = text;
    return wholeNumber<std::uint64_t>(takeLine(rest).value_or("")).value_or(0);
}

/// A figure of a group's memory.stat.
std::uint64_t groupFigure(const std::string& group, std::string_view name) {
    const std::string text = readFile(group + "/memory.stat");
    std::string_view rest = text;
    while (std::optional<std::string_view> line = takeLine(rest)) {
        if (takeWord(*line) == name) {
            return wholeNumber<std::uint64_t>(takeWord(*line)).value_or(0);
        }
    }
    return 0;
}

PressureFigures figuresOf(const std::string& stallFile, const std::string& group) {
    const Meminfo memory = parseMeminfo(readFile("/proc/meminfo")).value_or(Meminfo());
    PressureFigures figures;
    figures.stall = parseMemoryStall(readFile(stallFile));
    figures.memTotal = memory.memTotal;
    figures.memAvailable = availableMemory(memory).value_or(0);
    figures.swapTotal = memory.swapTotal.value_or(0);
    figures.swapFree = memory.swapFree.value_or(0);
    if (!group.empty()) {
        figures.memTotal = number(readFile(group + "/memory.limit_in_bytes"));
        const std::uint64_t used = number(readFile(group + "/memory.usage_in_bytes"));
        figures.memAvailable = figures.memTotal - std::min(used, figures.memTotal) +
                               groupFigure(group, "active_file") +
                               groupFigure(group, "inactive_file");
    }
    return figures;
}

int watch(double seconds, const std::string& stallFile, const std::string& group) {
    PressureRule rule;
    const auto start = Clock::now();
    for (;;) {
        std::this_thread::sleep_for(std::chrono::seconds(2));
        const double passed = std::chrono::duration<double>(Clock::now() - start).count();
        const PressureFigures figures = figuresOf(stallFile, group);
        const std::int32_t level = rule.level(figures);
        const MemoryStall stall = figures.stall.value_or(MemoryStall{-1, -1});
        fmt::print("{:6.0f} {:8.2f} {:8.2f} {:10.1f} {:6}\n", passed, stall.some, stall.full,
                   100 * static_cast<double>(figures.memAvailable) /
                       static_cast<double>(figures.memTotal),
                   level);
        if (passed >= seconds) {
            return 0;
        }
    }
}

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Whether the process still has memory; what was killed, and not yet waited for, has none.
bool lives(const std::string& pid) {
    const std::string text = readFile("/proc/" + pid + "/statm");
    std::string_view size = text;
    return wholeNumber<std::uint64_t>(takeWord(size)).value_or(0) > 0;
}

int watchMachine(double seconds, const std::string& pid) {
    constexpr double kMiB = 1 << 20;
    LinuxMachine machine;
    const auto start = Clock::now();
    double passed = 0;
    while (passed < seconds && (pid.empty() || lives(pid))) {
        const Meminfo memory = parseMeminfo(readFile("/proc/meminfo")).value_or(Meminfo());
        const auto available = static_cast<double>(availableMemory(memory).value_or(0));
        const MemoryStall stall =
            parseMemoryStall(readFile("/proc/pressure/memory")).value_or(MemoryStall{-1, -1});
        fmt::print("{:6.1f} {:6.2f} {:6.2f} {:6.1f} {:6.0f} {:6.0f} {}\n", passed, stall.some,
                   stall.full, 100 * available / static_cast<double>(memory.memTotal),
                   available / kMiB, static_cast<double>(memory.swapFree.value_or(0)) / kMiB,
                   machine.read()->memoryPressureLevel().value_or(0));
        std::fflush(stdout);
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        passed = secondsSince(start);
    }
    fmt::print("{:6.1f} {}\n", passed, passed < seconds ? "ended" : "enough seen");
    return 0;
}

constexpr std::uint64_t kPage = 4096;

/// Fills so many percent of each page with noise, and quickly: this runs on emulated processors.
void fillWithNoise(char* memory, std::uint64_t bytes, std::uint64_t percent) {
    static std::uint64_t noise = 0x9e3779b97f4a7c15;
    for (std::uint64_t page = 0; page < bytes; page += kPage) {
        memory[page] = 1;
        for (std::uint64_t i = 0; i < kPage * percent / 100; i += sizeof noise) {
            noise ^= noise << 13U; // xorshift
            noise ^= noise >> 7U;
            noise ^= noise << 17U;
            std::memcpy(memory + page + i, &noise,
                        std::min<std::uint64_t>(sizeof noise, kPage - i));
        }
    }
}

int grow(std::uint64_t first, std::uint64_t perSecond, std::uint64_t randomPercent) {
    constexpr int kStepsPerSecond = 20;
    std::vector<std::vector<char>> memory;
    const auto take = [&](std::uint64_t bytes) {
        memory.emplace_back(bytes);
        fillWithNoise(memory.back().data(), bytes, randomPercent);
    };
    take(first << 20);
    const auto start = Clock::now();
    for (std::uint64_t step = 1;; ++step) {
        take((perSecond << 20) / kStepsPerSecond);
        std::this_thread::sleep_until(start +
                                      step * std::chrono::milliseconds(1000 / kStepsPerSecond));
    }
}

int readMapped(const std::string& path, std::uint64_t mebibytes, double seconds) {
    const std::uint64_t bytes = mebibytes << 20;
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    void* const mapped = ::mmap(nullptr, bytes, PROT_READ, MAP_SHARED, file, 0);
    if (mapped == MAP_FAILED) {
        return 1;
    }
    const volatile char* const pages = static_cast<const char*>(mapped);
    const auto start = Clock::now();
    while (secondsSince(start) < seconds) {
        for (std::uint64_t page = 0; page < bytes; page += kPage) {
            static_cast<void>(pages[page]);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    return 0;
}

int load(std::uint64_t mebibytes, double seconds, std::uint64_t randomPercent) {
    constexpr int kBetweenLooks = 64; // pages written between two looks at the clock
    std::vector<char> memory(mebibytes << 20);
    fillWithNoise(memory.data(), memory.size(), randomPercent);
    std::minstd_rand random;
    std::uniform_int_distribution<std::uint64_t> page(0, memory.size() / kPage - 1);
    std::uint64_t written = 0;
    const auto start = Clock::now();
    double passed = 0;
    while (passed < seconds) {
        for (int i = 0; i < kBetweenLooks; ++i) {
            ++memory[page(random) * kPage];
        }
        written += kBetweenLooks;
        passed = secondsSince(start);
    }
    fmt::print("{:.0f}\n", static_cast<double>(written) / passed);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const auto word = [&](std::size_t i) { return i < words.size() ? words[i] : ""; };
    const auto whole = [&](std::size_t i) {
        return wholeNumber<std::uint64_t>(std::string_view(word(i))).value_or(0);
    };
    const auto seconds = [&](std::size_t i) { return wholeDecimal(word(i)).value_or(0); };
    if (words.size() >= 3 && words[0] == "watch") {
        return watch(seconds(1), words[2], word(3));
    }
    if (words.size() >= 2 && words[0] == "machine") {
        return watchMachine(seconds(1), word(2));
    }
    if (words.size() >= 3 && words[0] == "load") {
        return load(whole(1), seconds(2), whole(3));
    }
    if (words.size() >= 3 && words[0] == "grow") {
        return grow(whole(1), whole(2), whole(3));
    }
    if (words.size() == 4 && words[0] == "map") {
        return readMapped(words[1], whole(2), seconds(3));
    }
    fmt::print(stderr, "usage: pressure_probe watch SECONDS STALL_FILE [GROUP] | "
                       "machine SECONDS [PID] | load MIB SECONDS [RANDOM_PERCENT] | "
                       "grow FIRST_MIB MIB_A_SECOND [RANDOM_PERCENT] | map PATH MIB SECONDS\n");
    return 2;
}
