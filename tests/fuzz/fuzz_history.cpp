#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "base/json_writer.h"
#include "fuzz/fuzz.h"
#include "model/history_store.h"
#include "support/strict_history.h"

namespace {

using korvel::History;
using korvel::HistoryPoint;
using korvel::test::StrictHistory;

bool areSame(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

/// Decoded as a second, strict reader decodes it.
void requireRead(const std::string& text, const StrictHistory::Rows& expected) {
    const auto points = korvel::decodeHistory(text);
    require(points.size() == expected.size(), "as many points as rows");
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto& row = expected[i];
        require(points[i].t == row[0] && points[i].cpu == row[1] && points[i].mem == row[2],
                "the numbers of the rows");
    }
    std::string roomy;
    roomy.reserve(2 * text.size() + 1024);
    roomy = text;
    require(korvel::decodeHistory(std::move(roomy)).size() == points.size(),
            "the same with room behind the text");
}

/// Written as the plain writer of JSON writes it, and read again to the last bit.
void requireWritten(const History& points) {
    korvel::JsonWriter plain;
    plain.beginArray();
    bool isFinite = true;
    for (const HistoryPoint& point : points) {
        plain.beginArray().value(point.t).value(point.cpu).value(point.mem).endArray();
        isFinite = isFinite && std::isfinite(point.t) && std::isfinite(point.cpu) &&
                   std::isfinite(point.mem);
    }
    plain.endArray();
    const auto text = korvel::encodeHistory(points);
    require(text.has_value() == isFinite, "only what has a form in JSON is written");
    if (!text) {
        return;
    }
    require(*text == plain.text(), "as the plain writer writes it");
    const auto again = korvel::decodeHistory(*text);
    const auto same = [](const HistoryPoint& a, const HistoryPoint& b) {
        return areSame(a.t, b.t) && areSame(a.cpu, b.cpu) && areSame(a.mem, b.mem);
    };
    require(std::equal(points.begin(), points.end(), again.begin(), again.end(), same),
            "what was written is read again");
}

/// The bytes as the numbers that they are in memory.
History pointsIn(std::string_view bytes) {
    History points;
    double numbers[3];
    for (; bytes.size() >= sizeof numbers; bytes.remove_prefix(sizeof numbers)) {
        std::memcpy(numbers, bytes.data(), sizeof numbers);
        points.emplace_back(numbers[0], numbers[1], numbers[2]);
    }
    return points;
}

} // namespace

// Any text is decoded as a second, strict reader decodes it, and any points are written as a plain
// writer writes them, and read again.
void fuzz(std::string_view bytes) {
    const std::string text(bytes);
    const auto rows = StrictHistory::read(text);
    const bool isShort = rows && std::any_of(rows->begin(), rows->end(),
                                             [](const auto& row) { return row.size() < 3; });
    if (!isShort) { // a short row ends the process, as it should
        requireRead(text, rows.value_or(StrictHistory::Rows()));
        requireWritten(korvel::decodeHistory(text));
    }
    // Each point is written by itself: ten show what two hundred would.
    constexpr std::size_t kTenPoints = 10 * 3 * sizeof(double);
    requireWritten(pointsIn(bytes.substr(0, kTenPoints)));
}
