#pragma once

#include <string>

#include "ui/content/popover_content.h"

namespace korvel::swarm {

class Ledger;

/// What of the popover is not as the state of the program has it; empty: nothing.
std::string wrongOf(const PopoverContent& content, const Ledger& ledger);

/// Whether the history that was loaded is the one on the disk, read by a second reader.
bool foundHistory(const Ledger& ledger);
/// The same of the file and the history at the end, unless the file could not be written.
bool savedHistory(const Ledger& ledger);

} // namespace korvel::swarm
