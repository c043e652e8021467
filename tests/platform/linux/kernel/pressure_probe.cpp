// What script/pressure-calibration measures with: shows the figures and the level that the pressure
// rule makes of them, and puts memory under load.
//
//     pressure_probe watch SECONDS STALL_FILE [GROUP]
//         Every two seconds, a line: seconds, some, full, available percent, level. GROUP is a
//         memory control group that is taken for the whole machine.
//     pressure_probe load MIB SECONDS
//         Writes pages of so much memory at random; at the end, a line: pages a second.

#include <chrono>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>

#include "base/lines.h"
#include "base/whole_number.h"
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

int load(std::uint64_t mebibytes, double seconds) {
    constexpr std::uint64_t kPage = 4096;
    constexpr int kBetweenLooks = 64; // pages written between two looks at the clock
    std::vector<char> memory(mebibytes << 20);
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
        passed = std::chrono::duration<double>(Clock::now() - start).count();
    }
    fmt::print("{:.0f}\n", static_cast<double>(written) / passed);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() >= 3 && words[0] == "watch") {
        return watch(wholeDecimal(words[1]).value_or(0), words[2],
                     words.size() > 3 ? words[3] : "");
    }
    if (words.size() == 3 && words[0] == "load") {
        if (const auto mebibytes = wholeNumber<std::uint64_t>(words[1])) {
            return load(*mebibytes, wholeDecimal(words[2]).value_or(0));
        }
    }
    fmt::print(stderr,
               "usage: pressure_probe watch SECONDS STALL_FILE [GROUP] | load MIB SECONDS\n");
    return 2;
}
