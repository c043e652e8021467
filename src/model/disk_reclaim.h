#pragma once

#include <string>
#include <string_view>

namespace korvel {

/// What a preview of the reclaim script says could be cleared: the last two words of its last line
/// that holds "TOTAL RECLAIMABLE", or a sentence that there is nothing.
std::string reclaimableIn(std::string_view output);

/// What a run gained, by the free space before and after it.
std::string reclaimResultText(double freeBeforeGB, double freeAfterGB);

} // namespace korvel
