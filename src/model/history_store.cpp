#include "model/history_store.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>
#include <string_view>
#include <utility>

#include <simdjson.h>

#include "base/decimal.h"
#include "base/fatal.h"
#include "base/shortest_number.h"
#include "base/utf8.h"

namespace korvel {

namespace {

constexpr std::size_t kColumns = 3;
// JSON has no NaN, so it can mark a column that a row does not have.
constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();

/// The value of one element of a row; none when it is no number.
std::optional<double> readNumber(simdjson::ondemand::value element) {
    // Some releases of the reader misread a number of more digits than 64 bits hold. The program
    // writes few that are so long, so reading them twice as slowly costs nothing.
    constexpr std::size_t kMostDigits = 19;
    if (std::string_view token = element.raw_json_token(); token.size() > kMostDigits) {
        token = token.substr(0, token.find_last_not_of(" \t\r\n") + 1);
        return parseJsonNumber(token);
    }
    double number = 0;
    if (element.get_double().get(number) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    return number;
}

/// Reads one row into its first three columns. False: not an array of numbers.
bool readRow(simdjson::ondemand::array row, std::array<double, kColumns>& columns) {
    columns.fill(kMissing);
    std::size_t column = 0;
    for (const simdjson::ondemand::value element : row) {
        const std::optional<double> number = readNumber(element);
        if (!number) {
            return false;
        }
        if (column < kColumns) {
            columns[column++] = *number;
        }
    }
    return true;
}

// Bytes: three doubles of up to 24, brackets, a comma.
constexpr std::size_t kLongestRow = 77;

/// Appends rows, each with a comma behind it. False: a number has no JSON form.
bool appendRows(std::string& text, std::span<const HistoryPoint> points) {
    // In pieces: what was stored just now is slow to copy.
    constexpr std::size_t kPiece = 8192;
    std::array<char, kPiece> piece;
    char* end = piece.data();
    for (const HistoryPoint& point : points) {
        if (piece.data() + piece.size() - end <
            static_cast<std::ptrdiff_t>(kLongestRow + kShortestRoom)) {
            text.append(piece.data(), end);
            end = piece.data();
        }
        char before = '[';
        for (const double number : {point.t, point.cpu, point.mem}) {
            if (!std::isfinite(number)) {
                return false;
            }
            *end++ = std::exchange(before, ',');
            end = writeShortest(end, number);
        }
        *end++ = ']';
        *end++ = ',';
    }
    text.append(piece.data(), end);
    return true;
}

} // namespace

std::optional<std::string> encodeHistory(const std::vector<HistoryPoint>& history) {
    HistoryText text(history.size());
    const std::optional<std::string_view> found = text.of(history);
    return found ? std::optional(std::string(*found)) : std::nullopt;
}

HistoryText::HistoryText(std::size_t rows) : text_("[") {
    // Room for the worst case costs nothing until it is written to, while growing would copy the
    // whole text.
    text_.reserve(rows * kLongestRow + 2);
}

void HistoryText::dropOldest(std::size_t rows) {
    for (; rows > 0; --rows) {
        begin_ = text_.find("],", begin_) + 1;
        text_[begin_] = '[';
    }
    constexpr std::size_t kMostUnused = std::size_t{64} << 10; // bytes
    if (begin_ > kMostUnused) {
        text_.erase(0, std::exchange(begin_, 0));
    }
}

std::optional<std::string_view> HistoryText::of(const std::vector<HistoryPoint>& history) {
    if (rows_ > 0) {
        text_.back() = ',';
    }
    const auto newest =
        std::find_if(history.rbegin(), history.rend(),
                     [this](const HistoryPoint& point) { return point.id == newest_; });
    const auto known = static_cast<std::size_t>(history.rend() - newest);
    if (known > 0 && known <= rows_) {
        dropOldest(rows_ - known);
        rows_ = known;
    } else { // it has no row that was here before
        text_ = "[";
        begin_ = rows_ = 0;
    }
    const std::size_t before = text_.size();
    if (!appendRows(text_, std::span(history).subspan(rows_))) {
        text_.resize(before);
        return std::nullopt;
    }
    if (history.empty()) {
        return "[]";
    }
    rows_ = history.size();
    newest_ = history.back().id;
    text_.back() = ']';
    return std::string_view(text_).substr(begin_);
}

std::vector<HistoryPoint> decodeHistory(std::string text) {
    if (text.starts_with(kByteOrderMark)) {
        return {};
    }
    // Every row is decoded, because one bad element anywhere makes the whole file unreadable; only
    // the newest are kept, in a ring, so that a longer file costs no more memory.
    std::vector<HistoryPoint> ring;
    std::size_t rows = 0;
    // One more than the cap, for the point that is appended before the oldest goes.
    constexpr std::size_t kShortestRow = 8; // bytes, with its comma
    ring.reserve(std::min(kHistoryCap, text.size() / kShortestRow) + 1);
    text.reserve(text.size() + simdjson::SIMDJSON_PADDING);
    try {
        simdjson::ondemand::parser parser;
        simdjson::ondemand::document document = parser.iterate(text);
        for (simdjson::ondemand::array row : document.get_array()) {
            std::array<double, kColumns> columns;
            if (!readRow(row, columns)) {
                return {};
            }
            const HistoryPoint point(columns[0], columns[1], columns[2]);
            if (rows < kHistoryCap) {
                ring.push_back(point);
            } else {
                ring[rows % kHistoryCap] = point;
            }
            ++rows;
        }
        if (document.current_location().error() != simdjson::OUT_OF_BOUNDS) {
            return {}; // something follows the array
        }
    } catch (const simdjson::simdjson_error&) {
        return {};
    }
    if (rows > kHistoryCap) {
        const auto oldest = static_cast<std::ptrdiff_t>(rows % kHistoryCap);
        std::rotate(ring.begin(), ring.begin() + oldest, ring.end());
    }
    for (const HistoryPoint& point : ring) {
        if (std::isnan(point.t) || std::isnan(point.cpu) || std::isnan(point.mem)) {
            fatal();
        }
    }
    return ring;
}

} // namespace korvel
