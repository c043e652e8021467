#include "platform/linux/kernel/process_status.h"

#include <limits>

#include <fcntl.h>
#include <fmt/format.h>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/kept_file.h"
#include "platform/linux/kernel/root_folder.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

namespace {

/// What stands behind a name that begins a line, which is not the first. The kernel escapes a
/// newline in the process's name, so no name can look like such a line.
std::optional<std::string_view> lineOf(std::string_view text, std::string_view newlineAndName) {
    const std::size_t found = text.find(newlineAndName);
    if (found == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(found + newlineAndName.size());
    return takeLine(text);
}

std::optional<std::uint64_t> bytesOf(std::string_view text, std::string_view newlineAndName) {
    constexpr std::uint64_t kKibibyte = 1024;
    std::optional<std::string_view> line = lineOf(text, newlineAndName);
    if (!line) {
        return std::nullopt;
    }
    const auto number = wholeNumber<std::uint64_t>(takeWord(*line));
    if (!number || takeWord(*line) != "kB" ||
        *number > std::numeric_limits<std::uint64_t>::max() / kKibibyte) {
        return std::nullopt;
    }
    return *number * kKibibyte;
}

} // namespace

std::optional<std::uint64_t> parseVmSwap(std::string_view text) {
    return bytesOf(text, "\nVmSwap:");
}

std::optional<std::uint64_t> parseRssShmem(std::string_view text) {
    return bytesOf(text, "\nRssShmem:");
}

std::optional<std::int32_t> parseParent(std::string_view text) {
    std::optional<std::string_view> line = lineOf(text, "\nPPid:");
    return line ? wholeNumber<std::int32_t>(takeWord(*line)) : std::nullopt;
}

std::optional<std::uint64_t> parsePssShmem(std::string_view text) {
    return bytesOf(text, "\nPss_Shmem:");
}

LinuxSwappedMemory::LinuxSwappedMemory(const std::string& root, FileCalls& calls)
    : calls_(calls), path_(rootFolder(root) + "proc/") {}

std::optional<double> LinuxSwappedMemory::swappedOut(std::int32_t pid) {
    const std::string path = fmt::format("{}{}/status", path_, pid);
    const FileDescriptor file(calls_.openAt(AT_FDCWD, path.c_str(), 0));
    std::string buffer;
    const auto text = file ? readWhole(calls_, file.get(), buffer) : std::nullopt;
    const auto bytes = text ? parseVmSwap(*text) : std::nullopt;
    return bytes ? std::optional(static_cast<double>(*bytes)) : std::nullopt;
}

} // namespace korvel::platform
