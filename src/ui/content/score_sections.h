#pragma once

#include "ui/content/popover_content.h"

namespace korvel {

struct ScoreFactor;
struct Snapshot;

/// The popover's upper sections: what the score is and what holds it down.

PopoverContent::Header headerOf(const Snapshot& snap, bool showBreakdown);

/// The points that a factor costs, as text: a dash for less than half a point.
std::string pointsLost(double lost);

/// The detail of one of the snapshot's factors, as it is shown: where the machine has no figure for
/// it, that there is none.
std::string shownDetail(const ScoreFactor& factor, const Snapshot& snap);

std::vector<PopoverContent::FactorLine> breakdownOf(const Snapshot& snap);

/// The alerts; without any, one line that says whether something needs attention.
std::vector<PopoverContent::StatusLine> statusOf(const Snapshot& snap);

} // namespace korvel
