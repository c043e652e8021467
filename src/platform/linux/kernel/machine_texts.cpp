#include "platform/linux/kernel/machine_texts.h"

#include <algorithm>
#include <cstddef>

#include "base/lines.h"
#include "base/whole_number.h"
#include "platform/linux/kernel/text_scan.h"

namespace korvel::platform {

namespace {

constexpr std::string_view kSwapouts = "pswpout ";

/// The first line of that name, which is there to its end.
std::optional<std::string_view> swapoutLine(std::string_view text) {
    std::size_t found = text.find(kSwapouts);
    while (found != std::string_view::npos && found > 0 && text[found - 1] != '\n') {
        found = text.find(kSwapouts, found + 1);
    }
    text.remove_prefix(std::min(found, text.size()));
    return takeLine(text);
}

} // namespace

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
    std::optional<std::string_view> line = swapoutLine(text);
    return line ? wholeNumber<std::uint64_t>(line->substr(kSwapouts.size())) : std::nullopt;
}

bool tellsSwapouts(std::string_view text) {
    return swapoutLine(text).has_value();
}

} // namespace korvel::platform
