#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// The files of a process that are one line of figures.
namespace korvel::platform {

/// The first figures of a process's statm, in pages. All 0 for a kernel thread and for a zombie.
struct Statm {
    std::uint64_t size = 0; ///< of the address space
    std::uint64_t resident = 0;
    std::uint64_t shared = 0; ///< of the resident ones, those that belong to files or are shared

    std::uint64_t anonymous() const { return resident - (shared < resident ? shared : resident); }
    bool operator==(const Statm&) const = default;
};

/// nullopt when the line is malformed; what follows the third number is passed over.
std::optional<Statm> parseStatm(std::string_view text);

/// When the process was started, in the clock ticks of /proc/PID/stat since the machine was.
/// nullopt when the line is malformed. The name in it may hold anything, a bracket and a newline
/// too.
std::optional<std::uint64_t> parseStartTime(std::string_view text);

} // namespace korvel::platform
