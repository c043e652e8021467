#include "platform/linux/update/loader_trace.h"

#include <string>

#include <fmt/format.h>

#include "base/lines.h"

namespace korvel::platform {

namespace {

constexpr std::string_view kListedMissing = " => not found";
constexpr std::string_view kVersion = ": version `";
constexpr std::string_view kVersionMissing = "' not found (required by ";
constexpr std::string_view kRefusal = "error while loading shared libraries: ";
constexpr std::string_view kAbsent = ": cannot open shared object file: No such file or directory";
constexpr std::string_view kProcessor = "CPU ISA level is lower than required";

/// As it may be shown, whatever bytes are in it.
std::string shown(std::string_view text) {
    constexpr std::size_t kLongest = 100; // bytes
    std::string printable(text.substr(0, kLongest));
    for (char& letter : printable) {
        letter = letter >= ' ' && letter <= '~' ? letter : '?';
    }
    return printable;
}

std::string lastComponentOf(std::string_view path) {
    return shown(path.substr(path.rfind('/') + 1));
}

/// `WHERE/LIBRARY: version `VERSION' not found (required by OBJECT)`. A version that would be used
/// only if it were there is called a weak one, and is not meant.
Status<LoadFault> versionIn(std::string_view line) {
    const std::size_t version = line.find(kVersion);
    const std::size_t end =
        version == std::string_view::npos ? version : line.find(kVersionMissing, version);
    if (end == std::string_view::npos) {
        return {};
    }
    const std::size_t begin = version + kVersion.size();
    return Error{LoadFault::libraryTooOld, lastComponentOf(line.substr(0, version)),
                 shown(line.substr(begin, end - begin))};
}

/// `error while loading shared libraries: LIBRARY: REASON`
Status<LoadFault> refusalIn(std::string_view line, std::string_view object) {
    const std::size_t begin = line.find(kRefusal);
    if (begin == std::string_view::npos) {
        return {};
    }
    line.remove_prefix(begin + kRefusal.size());
    if (line.starts_with(object)) {
        return Error{LoadFault::refused, "", shown(line.substr(line.rfind(": ") + 2))};
    }
    if (line.ends_with(kAbsent)) {
        return Error{LoadFault::libraryMissing,
                     lastComponentOf(line.substr(0, line.size() - kAbsent.size()))};
    }
    const std::size_t slash = line.rfind('/');
    const std::size_t colon = line.find(": ", slash == std::string_view::npos ? 0 : slash);
    if (colon == std::string_view::npos) {
        return Error{LoadFault::refused, "", shown(line)};
    }
    return Error{LoadFault::libraryUnfit, lastComponentOf(line.substr(0, colon)),
                 shown(line.substr(colon + 2))};
}

/// What one line has against the object.
Status<LoadFault> faultIn(std::string_view line, std::string_view object) {
    if (line.find(kProcessor) != std::string_view::npos) {
        return Error{LoadFault::otherProcessor};
    }
    if (line.ends_with(kListedMissing)) {
        line.remove_suffix(kListedMissing.size());
        return Error{LoadFault::libraryMissing, lastComponentOf(line.substr(line.rfind('\t') + 1))};
    }
    if (auto refusal = refusalIn(line, object); !refusal) {
        return refusal;
    }
    return versionIn(line);
}

} // namespace

Status<LoadFault> readLoaderTrace(const ChildResult& listed, std::string_view object) {
    std::string_view rest = listed.output;
    while (const auto line = takeLineOrRest(rest)) {
        if (auto fault = faultIn(*line, object); !fault) {
            return fault;
        }
    }
    if (listed.status != 0) {
        return Error{LoadFault::refused, "", fmt::format("status {}", listed.status)};
    }
    return {};
}

} // namespace korvel::platform
