#include "platform/linux/kernel/pressure.h"

#include "base/lines.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

namespace {

constexpr std::int32_t kNormal = 1;
constexpr std::int32_t kWarning = 2;
constexpr std::int32_t kCritical = 4;

/// The avg10 of a line's fields "avg10=1.23 avg60=...".
std::optional<double> avg10(std::string_view fields) {
    constexpr std::string_view kField = "avg10=";
    constexpr double kMost = 100;
    for (std::string_view word = takeWord(fields); !word.empty(); word = takeWord(fields)) {
        if (word.substr(0, kField.size()) == kField) {
            const std::optional<double> share = wholeDecimal(word.substr(kField.size()));
            return share && *share <= kMost ? share : std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<MemoryStall> parseMemoryStall(std::string_view text) {
    std::optional<double> some;
    std::optional<double> full;
    while (std::optional<std::string_view> line = takeLine(text)) {
        const std::string_view kind = takeWord(*line);
        if (kind == "some" && !some) {
            some = avg10(*line);
        } else if (kind == "full" && !full) {
            full = avg10(*line);
        }
    }
    if (!some || !full) {
        return std::nullopt;
    }
    return MemoryStall{*some, *full};
}

std::int32_t PressureRule::level(const PressureFigures& figures) {
    if (!figures.stall) {
        level_ = byAvailability(figures);
    } else if (figures.memAvailable < figures.memTotal / 2) {
        level_ = byStall(*figures.stall);
    } else {
        // With half of the memory to spare, tasks that stall are held by a limit of their own.
        level_ = kNormal;
    }
    return level_;
}

std::int32_t PressureRule::byStall(const MemoryStall& stall) const {
    // A reclaim that is felt; well before the point at which processes are killed for memory.
    constexpr double kSomeWarning = 10;
    constexpr double kFullWarning = 5;
    constexpr double kFullCritical = 10;
    constexpr double kLeave = 0.5; // of the threshold
    const double critical = level_ == kCritical ? kLeave : 1;
    const double warning = level_ == kNormal ? 1 : kLeave;
    if (stall.full >= kFullCritical * critical) {
        return kCritical;
    }
    if (stall.some >= kSomeWarning * warning || stall.full >= kFullWarning * warning) {
        return kWarning;
    }
    return kNormal;
}

std::int32_t PressureRule::byAvailability(const PressureFigures& figures) const {
    constexpr double kWarningShare = 0.10;
    constexpr double kCriticalShare = 0.05;
    constexpr double kSwapShare = 0.10;
    constexpr double kLeave = 2; // times the threshold
    const auto total = static_cast<double>(figures.memTotal);
    const auto available = static_cast<double>(figures.memAvailable);
    const auto swapFree = static_cast<double>(figures.swapFree);
    const double swapNeeded = static_cast<double>(figures.swapTotal) * kSwapShare;
    const double critical = level_ == kCritical ? kLeave : 1;
    const double warning = level_ == kNormal ? 1 : kLeave;
    if (available < total * kCriticalShare * critical &&
        (figures.swapTotal == 0 || swapFree < swapNeeded * critical)) {
        return kCritical;
    }
    if (available < total * kWarningShare * warning) {
        return kWarning;
    }
    return kNormal;
}

} // namespace korvel::platform
