#include "app/status_title.h"

#include <fmt/format.h>

#include "core/snapshot.h"
#include "ui/content/palette.h"

namespace korvel {

using platform::StatusTitle;
using platform::TitleFont;
using platform::TitleInk;

StatusTitle statusTitle(std::int64_t score, bool awake) {
    StatusTitle title;
    title.runs.push_back({"●", 9, TitleFont::system, TitleInk::colour, rgb(scoreColor(score))});
    if (awake) {
        title.runs.push_back({" ☕", 10, TitleFont::system, TitleInk::secondaryLabel, {}});
    }
    title.runs.push_back(
        {fmt::format(" {}", score), 12, TitleFont::monospacedDigitMedium, TitleInk::label, {}});
    return title;
}

std::string statusToolTip(const Snapshot& snap, bool awake) {
    const std::string title = statusTitle(snap.score, awake).text();
    return snap.verdict.empty() ? title : title + " · " + snap.verdict;
}

} // namespace korvel
