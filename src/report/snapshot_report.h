#pragma once

#include <string>

namespace korvel {

struct Snapshot;

/// Whether a report may use terminal colours.
enum class Colours { plain, ansi };

/// A reading as a few aligned lines for a person, ending in a newline. Control characters in
/// process names are replaced, so that no name can drive the terminal.
std::string snapshotReport(const Snapshot& snapshot, Colours colours);

/// A reading as one line of JSON for the custom modules of tiling-desktop bars: "text", "tooltip",
/// "class" (the verdict in lower case) and "percentage".
std::string snapshotBarLine(const Snapshot& snapshot);

/// A reading as one JSON object.
std::string snapshotJson(const Snapshot& snapshot);

} // namespace korvel
