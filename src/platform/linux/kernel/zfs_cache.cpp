#include "platform/linux/kernel/zfs_cache.h"

#include <algorithm>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

std::optional<std::uint64_t> parseZfsCache(std::string_view text) {
    std::optional<std::uint64_t> size;
    std::optional<std::uint64_t> minimum;
    while (std::optional<std::string_view> line = takeLine(text)) {
        const std::string_view name = takeWord(*line);
        std::optional<std::uint64_t>* const figure = name == "size"    ? &size
                                                     : name == "c_min" ? &minimum
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
