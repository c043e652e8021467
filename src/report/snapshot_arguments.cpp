#include "report/snapshot_arguments.h"

#include "base/decimal.h"

namespace korvel {

const char* const kSnapshotUsage =
    "usage: korvel-snapshot [--json | --bar] [--once] [--watch SECONDS] | --prometheus [--once] | "
    "--selfcheck";

std::optional<SnapshotArguments> parseSnapshotArguments(const std::vector<std::string>& words) {
    constexpr double kShortestInterval = 0.1;
    constexpr double kLongestInterval = 86400;
    SnapshotArguments arguments;
    if (words == std::vector<std::string>{"--selfcheck"}) {
        arguments.selfcheck = true;
        return arguments;
    }
    for (auto word = words.begin(); word != words.end(); ++word) {
        const bool formatGiven = arguments.format != SnapshotArguments::Format::report;
        if (*word == "--json" && !formatGiven) {
            arguments.format = SnapshotArguments::Format::json;
        } else if (*word == "--bar" && !formatGiven) {
            arguments.format = SnapshotArguments::Format::bar;
        } else if (*word == "--prometheus" && !formatGiven) {
            arguments.format = SnapshotArguments::Format::prometheus;
        } else if (*word == "--once") {
            arguments.once = true;
        } else if (*word == "--watch" && ++word != words.end()) {
            arguments.watchInterval = parseDecimal(*word);
            if (!arguments.watchInterval || *arguments.watchInterval < kShortestInterval ||
                *arguments.watchInterval > kLongestInterval) {
                return std::nullopt;
            }
        } else {
            return std::nullopt;
        }
    }
    // A name may be described only once in a text of that format.
    const bool isRepeated = arguments.watchInterval.has_value();
    if (isRepeated && arguments.format == SnapshotArguments::Format::prometheus) {
        return std::nullopt;
    }
    return arguments;
}

} // namespace korvel
