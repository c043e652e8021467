#include "platform/linux/kernel/process_texts.h"

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

std::optional<Statm> parseStatm(std::string_view text) {
    std::optional<std::string_view> line = takeLine(text);
    if (!line) {
        return std::nullopt;
    }
    const auto size = wholeNumber<std::uint64_t>(takeWord(*line));
    const auto resident = wholeNumber<std::uint64_t>(takeWord(*line));
    const auto shared = wholeNumber<std::uint64_t>(takeWord(*line));
    if (!size || !resident || !shared) {
        return std::nullopt;
    }
    return Statm{*size, *resident, *shared};
}

} // namespace korvel::platform
