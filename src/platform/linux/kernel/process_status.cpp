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

std::optional<std::uint64_t> parseVmSwap(std::string_view text) {
    // The kernel escapes a newline in the process's name, so no name can look like this line.
    constexpr std::string_view kField = "\nVmSwap:";
    constexpr std::uint64_t kKibibyte = 1024;
    const std::size_t found = text.find(kField);
    if (found == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(found + kField.size());
    std::optional<std::string_view> line = takeLine(text);
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
