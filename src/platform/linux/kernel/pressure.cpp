#include "platform/linux/kernel/pressure.h"

#include <algorithm>

#include "base/lines.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

namespace {

constexpr std::int32_t kNormal = 1;
constexpr std::int32_t kWarning = 2;
constexpr std::int32_t kCritical = 4;

/// Below how much available memory, in bytes, a level is entered, and at how many times as much it
/// is left.
struct Bounds {
    double warning = 0;
    double critical = 0;
    double leave = 1;
};

/// Beside stall figures availability has to tell only what they cannot tell yet. Where there are
/// none it stands for them too, and is the stricter. Both have an upper limit in bytes: what asks
/// for memory is not larger in proportion on a large machine.
Bounds boundsOf(const PressureFigures& figures) {
    constexpr double kGiB = 1 << 30;
    constexpr double kMostWarning = 8 * kGiB;
    constexpr double kMostCritical = 4 * kGiB;
    const Bounds shares = figures.stall ? Bounds{0.05, 0.03, 1.5} : Bounds{0.10, 0.05, 2};
    const auto total = static_cast<double>(figures.memTotal);
    return {std::min(total * shares.warning, kMostWarning),
            std::min(total * shares.critical, kMostCritical), shares.leave};
}

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
    stallLevel_ = byStall(figures);
    availabilityLevel_ = byAvailability(figures);
    return std::max(stallLevel_, availabilityLevel_);
}

bool PressureRule::looksAtSwap(const PressureFigures& figures) {
    const Bounds bounds = boundsOf(figures);
    return static_cast<double>(figures.memAvailable) < bounds.critical * bounds.leave;
}

std::int32_t PressureRule::byStall(const PressureFigures& figures) const {
    // A reclaim that is felt; well before the point at which processes are killed for memory.
    constexpr double kSomeWarning = 10;
    constexpr double kFullWarning = 5;
    constexpr double kFullCritical = 10;
    constexpr double kLeave = 0.5; // of the threshold
    // With half of the memory to spare, tasks that stall are held by a limit of their own.
    if (!figures.stall || figures.memAvailable >= figures.memTotal / 2) {
        return kNormal;
    }
    const MemoryStall& stall = *figures.stall;
    const double critical = stallLevel_ == kCritical ? kLeave : 1;
    const double warning = stallLevel_ == kNormal ? 1 : kLeave;
    if (stall.full >= kFullCritical * critical) {
        return kCritical;
    }
    if (stall.some >= kSomeWarning * warning || stall.full >= kFullWarning * warning) {
        return kWarning;
    }
    return kNormal;
}

std::int32_t PressureRule::byAvailability(const PressureFigures& figures) const {
    constexpr double kSwapShare = 0.10;
    const Bounds bounds = boundsOf(figures);
    const auto available = static_cast<double>(figures.memAvailable);
    const auto room = static_cast<double>(figures.swapFree);
    const double critical = availabilityLevel_ == kCritical ? bounds.leave : 1;
    const double warning = availabilityLevel_ == kNormal ? 1 : bounds.leave;
    // With room in swap the machine slows down, and the stalls tell how much. Without, it kills.
    const double roomNeeded =
        std::max(static_cast<double>(figures.swapTotal) * kSwapShare, bounds.critical);
    if (available < bounds.critical * critical && room < roomNeeded * critical) {
        return kCritical;
    }
    return available < bounds.warning * warning ? kWarning : kNormal;
}

} // namespace korvel::platform
