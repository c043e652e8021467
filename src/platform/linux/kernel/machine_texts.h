#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

// The files of /proc and /sys from which one figure is taken.
namespace korvel::platform {

/// The list of processors "0-3,6": how many there are. nullopt when it is malformed or empty.
std::optional<int> countProcessors(std::string_view list);

/// The three averages of /proc/loadavg; nullopt when any of them cannot be read.
std::optional<std::array<double, 3>> parseLoadAverages(std::string_view text);

/// Pages written to swap areas of any kind since boot: pswpout of /proc/vmstat.
std::optional<std::uint64_t> parseSwapouts(std::string_view text);

/// Whether that line is there, so that what follows need not be read: for each piece of this file
/// the kernel counts all of its figures anew.
bool tellsSwapouts(std::string_view text);

} // namespace korvel::platform
