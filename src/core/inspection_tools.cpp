#include "core/inspection_tools.h"

#include <string_view>

#include <fmt/format.h>

#include "base/decimal.h"
#include "base/lines.h"
#include "base/utf8.h"

namespace korvel {

namespace {

/// The tool's output; none when it did not start or wrote anything but UTF-8.
std::optional<std::string> outputOf(platform::ChildProcesses& children,
                                    const std::string& executable,
                                    const std::vector<std::string>& arguments) {
    std::optional<platform::ChildResult> result = children.run(executable, arguments, {});
    if (!result || !isUtf8(result->output)) {
        return std::nullopt;
    }
    return std::move(result->output);
}

/// The first line that names writable regions; empty when there is none.
std::string_view writableRegionsLine(std::string_view summary) {
    while (const auto line = takeLineOrRest(summary)) {
        if (line->find("Writable regions") != std::string_view::npos) {
            return *line;
        }
    }
    return {};
}

} // namespace

double swappedOutInSummary(std::string_view summary) {
    constexpr std::string_view kField = "swapped_out=";
    const std::string_view line = writableRegionsLine(summary);
    const std::size_t field = line.find(kField);
    if (field == std::string_view::npos) {
        return 0;
    }
    std::string_view token = line.substr(field + kField.size());
    token = token.substr(0, token.find_first_not_of("0123456789.KMGkmg"));
    if (token.empty()) {
        return 0;
    }
    double unit = 1;
    switch (token.back()) {
    case 'K':
    case 'k':
        unit = 0x1p10;
        break;
    case 'M':
    case 'm':
        unit = 0x1p20;
        break;
    case 'G':
    case 'g':
        unit = 0x1p30;
        break;
    default:
        break;
    }
    if (unit != 1) {
        token.remove_suffix(1);
    }
    return parseDecimal(token).value_or(0) * unit;
}

std::optional<double> VmmapSwappedMemory::swappedOut(std::int32_t pid) {
    const auto summary =
        outputOf(children_, "/usr/bin/vmmap", {"--summary", fmt::format("{}", pid)});
    if (!summary) {
        return std::nullopt;
    }
    return swappedOutInSummary(*summary);
}

bool LaunchctlAgents::isLoaded(const std::string& label) {
    const auto listing = outputOf(children_, "/bin/launchctl", {"list"});
    return listing && listing->find(label) != std::string::npos;
}

} // namespace korvel
