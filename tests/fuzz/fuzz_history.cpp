#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "model/history_store.h"
#include "support/strict_history.h"

// Any text is decoded as a second, strict reader decodes it, and what was read is written back to
// the same numbers.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto expected = korvel::test::StrictHistory::read(text);
    if (expected && std::any_of(expected->begin(), expected->end(),
                                [](const auto& row) { return row.size() < 3; })) {
        return 0; // a short row ends the process, as it should
    }
    const auto points = korvel::decodeHistory(text);
    if (points.size() != (expected ? expected->size() : 0)) {
        std::abort();
    }
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto& row = (*expected)[i];
        if (points[i].t != row[0] || points[i].cpu != row[1] || points[i].mem != row[2]) {
            std::abort();
        }
    }
    const auto again = korvel::decodeHistory(korvel::encodeHistory(points).value());
    const auto same = [](const korvel::HistoryPoint& a, const korvel::HistoryPoint& b) {
        return a.t == b.t && a.cpu == b.cpu && a.mem == b.mem;
    };
    if (!std::equal(points.begin(), points.end(), again.begin(), again.end(), same)) {
        std::abort();
    }
    return 0;
}
