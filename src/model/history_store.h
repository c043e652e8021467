#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "base/uuid.h"
#include "platform/clock.h"

namespace korvel {

/// One point of the trail that the sparklines draw.
struct HistoryPoint {
    Uuid id; ///< fresh for every point made; its identity in lists, never stored
    platform::Date t;
    double cpu; ///< percent, 0 to 100
    double mem; ///< percent, 0 to 100

    HistoryPoint(platform::Date time, double cpuPct, double memPct)
        : id(Uuid::random()), t(time), cpu(cpuPct), mem(memPct) {}
};

/// Points, oldest first. At its full length each refresh takes one from the front: a vector would
/// move all the others.
using History = std::deque<HistoryPoint>;

/// Points that are kept, in memory and on file: 60 hours at one every five seconds.
inline constexpr std::size_t kHistoryCap = 43200;

// The history file is one JSON array of rows [seconds since 1970, cpu, mem], oldest first, compact,
// numbers in their shortest round-trip form. Any JSON reader reads it; there is no version in it,
// because a row that gains a column is still read by the first three.

/// The text of the file; none when a number has no JSON form (NaN, infinite). What stands on disk
/// is then better left alone than replaced by a file that cannot be read back.
std::optional<std::string> encodeHistory(const History& history);

/// The text of a history that goes on: new points come at its end, old ones go from its front, and
/// none changes. Asked again, it encodes the new ones alone.
class HistoryText {
  public:
    /// Makes room for so many rows; more are good too.
    explicit HistoryText(std::size_t rows);

    /// As `encodeHistory`, to the letter. Stands until the next call.
    std::optional<std::string_view> of(const History& history);

  private:
    void dropOldest(std::size_t rows);

    /// An opening bracket at `begin_`, then the rows, with a comma or a closing bracket behind
    /// each.
    std::string text_;
    std::size_t begin_ = 0;
    std::size_t rows_ = 0;
    Uuid newest_; ///< of the rows' points, where there are any
};

/// The newest `kHistoryCap` points of a file. Empty when any of it is not an array of arrays of
/// numbers; elements beyond a row's third are ignored. Fatal: a kept row with fewer than three.
/// Takes the text itself, because the reader wants room behind it: a text that has it is not
/// copied.
History decodeHistory(std::string text);

} // namespace korvel
