#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

#include "platform/machine.h"

namespace korvel::platform {

inline constexpr std::uint64_t kKiB = 1024;

/// The root of the recorded trees of this name.
inline std::string fixture(const std::string& name) {
    return std::string(KORVEL_FIXTURES) + "/linux/" + name;
}

/// A command line as the kernel gives it: each argument with a zero byte behind it.
inline std::string commandLine(std::initializer_list<const char*> arguments) {
    std::string line;
    for (const char* argument : arguments) {
        line += argument;
        line += '\0';
    }
    return line;
}

/// What the pages of a reading come to, as the sampler adds them up.
inline std::uint64_t availablePages(const VmStatistics& s) {
    return std::uint64_t{s.free_count} + s.inactive_count + s.speculative_count + s.purgeable_count;
}

inline std::uint64_t usedPages(const VmStatistics& s) {
    return std::uint64_t{s.active_count} + s.wire_count + s.compressor_page_count;
}

} // namespace korvel::platform
