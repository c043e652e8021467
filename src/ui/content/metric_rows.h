#pragma once

#include "ui/content/popover_content.h"

namespace korvel {

struct Snapshot;

/// The popover's gauges: CPU, MEMORY, SWAP, THERMAL, DISK. Fatal for a percentage that is not
/// finite.
std::vector<Row> metricRows(const Snapshot& snap, const History& history);

} // namespace korvel
