#include "platform/linux/kernel/zfs_cache.h"

#include <algorithm>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

std::optional<std::uint64_t> parseZfsCache(std::string_view text) {
    constexpr std::string_view kSize = "size";
    constexpr std::string_view kMinimum = "c_min";
    std::optional<std::uint64_t> size;
    std::optional<std::uint64_t> minimum;
    while (std::optional<std::string_view> line = takeLine(text)) {
        // To look for the end of each of 150 names takes longer than reading the file.
        if (!line->starts_with(kSize) && !line->starts_with(kMinimum)) {
            continue;
        }
        const std::string_view name = takeWord(*line);
        std::optional<std::uint64_t>* const figure = name == kSize      ? &size
                                                     : name == kMinimum ? &minimum
                                                                        : nullptr;
        if (figure != nullptr && !*figure) {
            takeWord(*line); // the kind of number
            *figure = wholeNumber<std::uint64_t>(takeWord(*line));
        }
    }
    if (!size || !minimum) {
        return std::nullopt;
    }
    return *size - std::min(*size, *minimum);
}

} // namespace korvel::platform
