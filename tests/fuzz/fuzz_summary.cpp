#include "core/inspection_tools.h"
#include "fuzz/fuzz.h"

// Any summary gives a number that is not negative.
void fuzz(std::string_view text) {
    const double bytes = korvel::swappedOutInSummary(text);
    require(bytes >= 0, "a number of 0 or more");
    require(bytes == 0 || text.find("swapped_out=") != std::string_view::npos,
            "0 where nothing is said");
}
