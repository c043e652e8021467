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

std::optional<std::uint64_t> parseStartTime(std::string_view text) {
    // The last bracket ends the name. Behind it come the state, which is the third field, and on.
    constexpr int kFieldBehindTheName = 3;
    constexpr int kStartTime = 22;
    const std::size_t bracket = text.rfind(')');
    if (bracket == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(bracket + 1);
    std::optional<std::string_view> line = takeLine(text);
    if (!line) {
        return std::nullopt;
    }
    for (int field = kFieldBehindTheName; field < kStartTime; ++field) {
        takeWord(*line);
    }
    return wholeNumber<std::uint64_t>(takeWord(*line));
}

} // namespace korvel::platform
