#include <algorithm>
#include <string>

#include "fuzz/fuzz.h"
#include "model/history_store.h"
#include "support/strict_history.h"

// Any text is decoded as a second, strict reader decodes it, and what was read is written back to
// the same numbers.
void fuzz(std::string_view bytes) {
    const std::string text(bytes);
    const auto expected = korvel::test::StrictHistory::read(text);
    if (expected && std::any_of(expected->begin(), expected->end(),
                                [](const auto& row) { return row.size() < 3; })) {
        return; // a short row ends the process, as it should
    }
    const auto points = korvel::decodeHistory(text);
    require(points.size() == (expected ? expected->size() : 0), "as many points as rows");
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto& row = (*expected)[i];
        require(points[i].t == row[0] && points[i].cpu == row[1] && points[i].mem == row[2],
                "the numbers of the rows");
    }
    const auto again = korvel::decodeHistory(korvel::encodeHistory(points).value());
    const auto same = [](const korvel::HistoryPoint& a, const korvel::HistoryPoint& b) {
        return a.t == b.t && a.cpu == b.cpu && a.mem == b.mem;
    };
    require(std::equal(points.begin(), points.end(), again.begin(), again.end(), same),
            "what was written is read again");
}
