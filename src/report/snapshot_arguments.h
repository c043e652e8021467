#pragma once

#include <optional>
#include <string>
#include <vector>

namespace korvel {

/// What the command line of korvel-snapshot asks for.
struct SnapshotArguments {
    enum class Format { report, json, bar, prometheus };

    Format format = Format::report;
    bool selfcheck = false;              ///< readings beside the system's tools, and nothing else
    bool once = false;                   ///< one sample, without waiting for processor time
    std::optional<double> watchInterval; ///< seconds between readings; none: one reading
};

/// The usage, one line.
extern const char* const kSnapshotUsage;

/// Reads the words after the program's name; none when they are wrong. An interval is a decimal
/// number of seconds from 0.1 to a day. Prometheus' format has one reading in a text, so that it
/// and an interval are wrong together.
std::optional<SnapshotArguments> parseSnapshotArguments(const std::vector<std::string>& words);

} // namespace korvel
