#pragma once

#include <cstdint>
#include <string>

#include "platform/status_bar.h"

namespace korvel {

struct Snapshot;

/// The status item's title. It reads as a dot in the score's colour, a cup while the machine is
/// kept awake, and the score.
platform::StatusTitle statusTitle(std::int64_t score, bool awake);

/// What a tray shows beside the title it has no room for: the whole title and the verdict.
std::string statusToolTip(const Snapshot& snap, bool awake);

/// The score and its verdict, in which the item's menu names the popover that it opens.
std::string statusSummary(const Snapshot& snap);

} // namespace korvel
