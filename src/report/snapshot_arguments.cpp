#include "report/snapshot_arguments.h"

#include "base/decimal.h"

namespace korvel {

namespace {

constexpr std::string_view kJson = "--json";
constexpr std::string_view kBar = "--bar";
constexpr std::string_view kPrometheus = "--prometheus";
constexpr std::string_view kOnce = "--once";
constexpr std::string_view kWatch = "--watch";
constexpr std::string_view kSelfcheck = "--selfcheck";

bool isInterval(std::string_view text) {
    constexpr double kShortest = 0.1;
    constexpr double kLongest = 86400;
    const auto seconds = parseDecimal(text);
    return seconds && *seconds >= kShortest && *seconds <= kLongest;
}

} // namespace

const CommandSyntax& snapshotSyntax() {
    static const CommandSyntax syntax = {
        "korvel-snapshot",
        "Prints one scored reading of this machine, by default as a report for people.",
        {
            {"", {{kJson, kBar}, {kOnce}, {kWatch}}, ""},
            // Without an interval: a name may be described only once in a text of that format.
            {kPrometheus, {{kOnce}}, ""},
            {kSelfcheck, {}, ""},
        },
        {
            {kJson, "", "print it as one line of JSON"},
            {kBar, "", "print it as one line for a bar"},
            {kPrometheus, "", "print it as metrics for Prometheus"},
            {kOnce, "", "sample once, without the second that processor time takes"},
            {kWatch, "SECONDS", "repeat it after so many seconds, 0.1 to 86400", isInterval},
            {kSelfcheck, "", "print each reading beside what the system's tools say"},
        },
        {
            {"Environment",
             {{"NO_COLOR", "where it is set and not empty, a report has no colours"}}},
            {"Exit status",
             {{"0", "it was printed; with --selfcheck, the tools agree"},
              {"1", "it could not be printed, or the tools do not agree"},
              {"2", "wrong usage"}}},
        },
    };
    return syntax;
}

SnapshotArguments snapshotArguments(const CommandWords& words) {
    SnapshotArguments arguments;
    if (words.has(kJson)) {
        arguments.format = SnapshotArguments::Format::json;
    } else if (words.has(kBar)) {
        arguments.format = SnapshotArguments::Format::bar;
    } else if (words.has(kPrometheus)) {
        arguments.format = SnapshotArguments::Format::prometheus;
    }
    arguments.selfcheck = words.has(kSelfcheck);
    arguments.once = words.has(kOnce);
    if (const auto interval = words.options.find(kWatch); interval != words.options.end()) {
        arguments.watchInterval = parseDecimal(interval->second);
    }
    return arguments;
}

} // namespace korvel
