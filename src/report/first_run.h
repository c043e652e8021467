#pragma once

#include <string>
#include <vector>

namespace korvel {

/// What a person looks at when the program runs on a Mac for the first time, for no machine has
/// shown it: a sentence or two each, in the order in which it is best done.
const std::vector<std::string>& firstRunOnAMac();

} // namespace korvel
