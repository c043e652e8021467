// What script/swap-trial measures with: shows what is counted as paged out to a disk.
//
//     swapout_probe SECONDS
//         Every second, a line: seconds, pages of 16 KiB a second, mebibytes since the start.

#include <chrono>
#include <cstdio>
#include <string_view>
#include <thread>

#include <fmt/format.h>

#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/swapouts.h"
#include "platform/linux/kernel/text_scan.h"

int main(int argc, char** argv) {
    using namespace korvel::platform;
    const auto seconds =
        argc == 2 ? wholeDecimal(std::string_view(argv[1])) : std::optional<double>();
    if (!seconds) {
        fmt::print(stderr, "usage: swapout_probe SECONDS\n");
        return 2;
    }
    LinuxMachine machine;
    const auto count = [&] {
        const auto statistics = machine.read()->vmStatistics();
        return statistics ? statistics->swapouts : 0;
    };
    const auto start = std::chrono::steady_clock::now();
    const std::uint64_t first = count();
    std::uint64_t last = first;
    double lastAt = 0;
    while (lastAt < *seconds) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        const std::uint64_t now = count();
        fmt::print("{:5.1f} {:8.0f} {:8.1f}\n", passed.count(),
                   static_cast<double>(now - last) / (passed.count() - lastAt),
                   static_cast<double>((now - first) * SwapoutCounter::kPage) / (1 << 20));
        std::fflush(stdout);
        last = now;
        lastAt = passed.count();
    }
    return 0;
}
