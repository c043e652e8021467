#include "model/history_store.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
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
bool appendRows(std::string& text, const History& history, std::size_t first) {
    // In pieces: what was stored just now is slow to copy.
    constexpr std::size_t kPiece = 8192;
    std::array<char, kPiece> piece;
    char* end = piece.data();
    for (auto point = history.begin() + static_cast<std::ptrdiff_t>(first); point != history.end();
         ++point) {
        if (piece.data() + piece.size() - end <
            static_cast<std::ptrdiff_t>(kLongestRow + kShortestRoom)) {
            text.append(piece.data(), end);
            end = piece.data();
        }
        char before = '[';
        for (const double number : {point->t, point->cpu, point->mem}) {
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

std::optional<std::string> encodeHistory(const History& history) {
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

std::optional<std::string_view> HistoryText::of(const History& history) {
    if (rows_ > 0) {
        text_.back() = ',';
    }
    const auto newest =
        std::find_if(history.rbegin(), history.rend(),
                     [this](const HistoryPoint& point) { return point.id == newest_; });
    const auto known = static_cast<std::size_t>(history.rend() - newest);
    dropOldest(rows_ - known);
    rows_ = known;
    const std::size_t before = text_.size();
    if (!appendRows(text_, history, rows_)) {
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

History decodeHistory(std::string text) {
    if (text.starts_with(kByteOrderMark)) {
        return {};
    }
    // Every row is decoded, because one bad element anywhere makes the whole file unreadable; only
    // the newest are kept.
    History newest;
    text.reserve(text.size() + simdjson::SIMDJSON_PADDING);
    try {
        simdjson::ondemand::parser parser;
        simdjson::ondemand::document document = parser.iterate(text);
        for (simdjson::ondemand::array row : document.get_array()) {
            std::array<double, kColumns> columns;
            if (!readRow(row, columns)) {
                return {};
            }
            newest.emplace_back(columns[0], columns[1], columns[2]);
            if (newest.size() > kHistoryCap) {
                newest.pop_front();
            }
        }
        if (document.current_location().error() != simdjson::OUT_OF_BOUNDS) {
            return {}; // something follows the array
        }
    } catch (const simdjson::simdjson_error&) {
        return {};
    }
    for (const HistoryPoint& point : newest) {
        if (std::isnan(point.mem)) { // the last column is missing in every row that is too short
            fatal();
        }
    }
    return newest;
}

} // namespace korvel
