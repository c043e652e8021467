#pragma once

#include <string>

#include "ui/content/words.h"

namespace korvel {

struct Snapshot;

/// Whether a report may use terminal colours.
enum class Colours { plain, ansi };

/// A reading as a few aligned lines for a person, ending in a newline, in the words of the desktop
/// where it has its own. What the machine has no figure for is said to be not reported. Control
/// characters in process names are replaced, so that no name can drive the terminal.
std::string snapshotReport(const Snapshot& snapshot, Colours colours, const Words& words = {});

/// A reading as one line of JSON for the custom modules of tiling-desktop bars: "text", "tooltip",
/// "class" (the verdict in lower case) and "percentage". The tooltip is Pango markup. It has the
/// alerts, in the words of the desktop, in which no process's name can become markup; it is too
/// small for what is not reported, which is no alert.
std::string snapshotBarLine(const Snapshot& snapshot, const Words& words = {});

/// The number of the object that `snapshotJson` makes. It grows when a member goes or changes its
/// meaning, not when one is added.
inline constexpr int kSnapshotSchema = 1;

/// A reading as one JSON object, for programs: in the same words on every system. It is described
/// by docs/schema/korvel-snapshot.schema.json: "schema", the reading's own members, and
/// "unreported", the names of what the machine has no figure for.
std::string snapshotJson(const Snapshot& snapshot);

} // namespace korvel
