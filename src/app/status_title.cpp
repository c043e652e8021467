#include "app/status_title.h"

#include <fmt/format.h>

#include "core/snapshot.h"
#include "ui/content/palette.h"

namespace korvel {

using platform::StatusTitle;
using platform::TitleFont;
using platform::TitleInk;

StatusTitle statusTitle(std::int64_t score, bool awake) {
    const Ink ink = scoreColor(score);
    StatusTitle title{.score = score,
                      .colourName = std::string(name(ink)),
                      .colour = rgb(ink),
                      .awake = awake,
                      .runs = {}};
    title.runs.push_back({.text = "●",
                          .size = 9,
                          .ink = TitleInk::colour,
                          .inkName = title.colourName,
                          .colour = title.colour});
    if (awake) {
        title.runs.push_back({.text = " ☕",
                              .size = 10,
                              .ink = TitleInk::secondaryLabel,
                              .inkName = std::string(name(Ink::secondary))});
    }
    title.runs.push_back(
        {.text = fmt::format(" {}", score), .size = 12, .font = TitleFont::monospacedDigitMedium});
    return title;
}

std::string statusToolTip(const Snapshot& snap, bool awake) {
    const std::string title = statusTitle(snap.score, awake).text();
    return snap.verdict.empty() ? title : title + " · " + snap.verdict;
}

std::string statusSummary(const Snapshot& snap) {
    const std::string score = fmt::format("{}", snap.score);
    return snap.verdict.empty() ? score : score + " · " + snap.verdict;
}

} // namespace korvel
