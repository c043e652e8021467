#include "platform/linux/kernel/machine_texts.h"

#include <algorithm>
#include <cstddef>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

std::optional<int> countProcessors(std::string_view list) {
    constexpr int kMost = 1 << 20;
    std::optional<std::string_view> line = takeLine(list);
    int count = 0;
    while (line && !line->empty()) {
        const std::size_t comma = std::min(line->find(','), line->size());
        const std::string_view range = line->substr(0, comma);
        line->remove_prefix(std::min(comma + 1, line->size()));
        const std::size_t dash = std::min(range.find('-'), range.size());
        const auto first = wholeNumber<int>(range.substr(0, dash));
        const auto last = dash == range.size() ? first : wholeNumber<int>(range.substr(dash + 1));
        if (!first || !last || *first < 0 || *last < *first || *last >= kMost) {
            return std::nullopt;
        }
        count += *last - *first + 1;
        if (count > kMost) {
            return std::nullopt; // some of them stand twice
        }
    }
    return count > 0 ? std::optional(count) : std::nullopt;
}

std::optional<std::array<double, 3>> parseLoadAverages(std::string_view text) {
    std::optional<std::string_view> line = takeLine(text);
    std::array<double, 3> averages{};
    for (double& average : averages) {
        const auto number = line ? wholeDecimal(takeWord(*line)) : std::nullopt;
        if (!number) {
            return std::nullopt;
        }
        average = *number;
    }
    return averages;
}

std::optional<std::uint64_t> parseSwapouts(std::string_view text) {
    constexpr std::string_view kField = "pswpout ";
    while (const std::optional<std::string_view> line = takeLine(text)) {
        if (line->substr(0, kField.size()) == kField) {
            return wholeNumber<std::uint64_t>(line->substr(kField.size()));
        }
    }
    return std::nullopt;
}

} // namespace korvel::platform
