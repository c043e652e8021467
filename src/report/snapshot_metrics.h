#pragma once

#include <string>
#include <string_view>

namespace korvel {

struct Snapshot;

/// Whether a reading knows shares of time and rates, which are differences of two samples.
enum class Rates { known, unknown };

/// A scored reading in the text exposition format of Prometheus, version 0.0.4: every series is a
/// gauge in base units. What the machine does not report and what one sample alone cannot tell has
/// no series, and no process is named. `version` is the program's.
std::string snapshotMetrics(const Snapshot& snapshot, Rates rates, std::string_view version);

} // namespace korvel
