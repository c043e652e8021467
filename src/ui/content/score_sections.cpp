#include "ui/content/score_sections.h"

#include <fmt/format.h>

#include "core/snapshot.h"

namespace korvel {

namespace {

/// From this score on nothing is said to hold it down.
constexpr std::int64_t kAllClearScore = 72;
/// From this score on nothing is urgent.
constexpr std::int64_t kNothingUrgentScore = 55;

/// First letter upper case, the rest as it is: "CPU" stays "CPU". Capitalising word by word, as
/// some string libraries do, would make it "Cpu".
std::string capitalised(std::string name) {
    if (!name.empty() && name.front() >= 'a' && name.front() <= 'z') {
        name.front() = static_cast<char>(name.front() - 'a' + 'A');
    }
    return name;
}

std::string calmText(const Snapshot& snap) {
    const std::optional<ScoreFactor> worst = snap.worstFactor();
    if (!worst) {
        return "Nothing urgent";
    }
    const std::string factor = capitalised(worst->name);
    if (snap.score >= kNothingUrgentScore) {
        return "Nothing urgent. " + factor + " is what's holding the score down (" + worst->detail +
               ")";
    }
    return factor + " is what's dragging this down (" + worst->detail + ")";
}

} // namespace

PopoverContent::Header headerOf(const Snapshot& snap, bool showBreakdown) {
    PopoverContent::Header header;
    header.score = snap.score;
    header.verdict = snap.verdict;
    header.colour = scoreColor(snap.score);
    header.spoken = fmt::format("Health score {}", snap.score);
    header.line =
        fmt::format("{} cores · {:.0f} GB · up {}", snap.cores, snap.memTotalGB, snap.uptime);
    header.toggle = showBreakdown ? "hide breakdown" : "what's affecting this";
    header.breakdownShown = showBreakdown;
    return header;
}

std::string pointsLost(double lost) {
    constexpr double kNothing = 0.5;
    return lost < kNothing ? "—" : fmt::format("−{:.0f}", lost);
}

std::string shownDetail(const ScoreFactor& factor, const Snapshot& snap) {
    const bool isReported = factor.name != "Thermal" || !snap.unreported.thermalState;
    return isReported ? factor.detail : kNotReported;
}

std::vector<PopoverContent::FactorLine> breakdownOf(const Snapshot& snap) {
    constexpr double kFullBar = 26; // points; the largest weight
    constexpr double kBad = 8;
    constexpr double kWarn = 3;
    std::vector<PopoverContent::FactorLine> lines;
    for (const ScoreFactor& factor : snap.factorsBySeverity()) {
        const double lost = factor.lost();
        PopoverContent::FactorLine line;
        line.id = factor.id;
        line.name = factor.name;
        line.lost = pointsLost(lost);
        line.barFraction = lost / kFullBar < 1 ? lost / kFullBar : 1;
        line.barColour = lost > kBad ? Ink::bad : lost > kWarn ? Ink::warn : Ink::good;
        line.lostColour = lost > kBad ? Ink::bad : Ink::secondary;
        line.detail = shownDetail(factor, snap);
        lines.push_back(std::move(line));
    }
    return lines;
}

std::vector<PopoverContent::StatusLine> statusOf(const Snapshot& snap) {
    if (!snap.alerts.empty()) {
        std::vector<PopoverContent::StatusLine> lines;
        for (const std::string& alert : snap.alerts) {
            lines.push_back({"exclamationmark.triangle.fill", Ink::warn, alert, Ink::primary});
        }
        return lines;
    }
    if (snap.score >= kAllClearScore) {
        return {{"checkmark.circle.fill", Ink::good, "All clear, nothing needs attention",
                 Ink::secondary}};
    }
    return {{"info.circle.fill", Ink::cyan, calmText(snap), Ink::secondary}};
}

} // namespace korvel
