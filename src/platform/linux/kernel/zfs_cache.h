#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace korvel::platform {

/// What the cache of ZFS can give back, in bytes: of /proc/spl/kstat/zfs/arcstats its size less the
/// minimum that it keeps (`size` and `c_min`), not below 0. That cache is no page cache: the kernel
/// counts it as used, although it shrinks when memory is asked for. nullopt unless both figures are
/// there; of a line that stands twice the first counts.
std::optional<std::uint64_t> parseZfsCache(std::string_view text);

} // namespace korvel::platform
