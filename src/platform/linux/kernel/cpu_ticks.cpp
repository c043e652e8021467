#include "platform/linux/kernel/cpu_ticks.h"

#include <algorithm>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

namespace {

// Far more than any kernel is built for; a larger number in the file is nonsense.
constexpr std::uint32_t kMostProcessors = 65536;

/// The counters of "cpuN ..."; nullopt for any other line, the sum of all processors among them.
std::optional<ProcessorTicks> parseProcessor(std::string_view line) {
    constexpr std::string_view kName = "cpu";
    constexpr std::size_t kRequired = ProcessorTicks::iowait;
    const std::string_view name = takeWord(line);
    if (name.substr(0, kName.size()) != kName) {
        return std::nullopt;
    }
    const auto number = wholeNumber<std::uint32_t>(name.substr(kName.size()));
    if (!number || *number >= kMostProcessors) {
        return std::nullopt;
    }
    ProcessorTicks processor;
    processor.number = *number;
    for (std::size_t counter = 0; counter < ProcessorTicks::kCounters; ++counter) {
        const std::string_view word = takeWord(line);
        if (word.empty() && counter >= kRequired) {
            break;
        }
        const auto ticks = wholeNumber<std::uint64_t>(word);
        if (!ticks) {
            return std::nullopt;
        }
        processor.ticks[counter] = *ticks;
    }
    return processor;
}

/// Whether a counter is back by more than the shifts between idle and waiting time that the kernel
/// allows itself.
bool startedAnew(const ProcessorTicks& processor,
                 const std::array<std::uint64_t, ProcessorTicks::kCounters>& highest) {
    constexpr std::uint64_t kMostBack = 6000; // a minute
    for (std::size_t counter = 0; counter < ProcessorTicks::kCounters; ++counter) {
        const std::uint64_t now = processor.ticks[counter];
        if (now < highest[counter] && highest[counter] - now > kMostBack) {
            return true;
        }
    }
    return false;
}

} // namespace

KernelStat parseKernelStat(std::string_view text) {
    KernelStat stat;
    std::uint32_t highest = 0;
    while (const std::optional<std::string_view> line = takeLine(text)) {
        if (line->substr(0, 3) == "cpu") {
            const std::optional<ProcessorTicks> processor = parseProcessor(*line);
            if (!processor) {
                continue;
            }
            const auto same = [&](const ProcessorTicks& other) {
                return other.number == processor->number;
            };
            // The kernel lists them in order; only a line out of order can be a second one.
            if (processor->number > highest ||
                std::none_of(stat.processors.begin(), stat.processors.end(), same)) {
                stat.processors.push_back(*processor);
                highest = std::max(highest, processor->number);
            }
        } else if (!stat.btime && line->substr(0, 6) == "btime ") {
            std::string_view rest = line->substr(6);
            stat.btime = wholeNumber<std::int64_t>(takeWord(rest));
        }
    }
    return stat;
}

std::optional<CpuTicks> CpuTickAccumulator::add(const std::vector<ProcessorTicks>& processors) {
    if (processors.empty()) {
        return std::nullopt;
    }
    return record_.add(advance(processors), processors.size());
}

CpuTickRecord::Sums CpuTickAccumulator::advance(const std::vector<ProcessorTicks>& processors) {
    constexpr std::array<std::size_t, ProcessorTicks::kCounters> kSumOfCounter{0, 3, 1, 2,
                                                                               2, 1, 1, 1};
    // No machine counts so much between two readings; a nonsensical counter must not fill the sum.
    constexpr std::uint64_t kMostAdded = std::uint64_t{1} << 32;
    std::vector<bool> online(processors_.size());
    CpuTickRecord::Sums added{};
    for (const ProcessorTicks& processor : processors) {
        if (processor.number >= processors_.size()) {
            processors_.resize(processor.number + 1);
            online.resize(processor.number + 1);
        }
        online[processor.number] = true;
        Processor& known = processors_[processor.number];
        if (!known.online || startedAnew(processor, known.highest)) {
            known.highest = processor.ticks;
            continue;
        }
        for (std::size_t counter = 0; counter < ProcessorTicks::kCounters; ++counter) {
            const std::uint64_t before = known.highest[counter];
            const std::uint64_t now = std::max(before, processor.ticks[counter]);
            added[kSumOfCounter[counter]] += std::min(now - before, kMostAdded);
            known.highest[counter] = now;
        }
    }
    for (std::size_t number = 0; number < processors_.size(); ++number) {
        processors_[number].online = online[number];
    }
    return added;
}

} // namespace korvel::platform
