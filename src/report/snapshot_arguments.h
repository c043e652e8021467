#pragma once

#include <optional>

#include "base/command_syntax.h"

namespace korvel {

/// What the command line of korvel-snapshot asks for.
struct SnapshotArguments {
    enum class Format { report, json, bar, prometheus };

    Format format = Format::report;
    bool selfcheck = false;              ///< readings beside the system's tools, and nothing else
    bool once = false;                   ///< one sample, without waiting for processor time
    std::optional<double> watchInterval; ///< seconds between readings; none: one reading
};

/// The options of korvel-snapshot and the words of its help.
const CommandSyntax& snapshotSyntax();

/// What the words ask for, which that syntax allows.
SnapshotArguments snapshotArguments(const CommandWords& words);

} // namespace korvel
