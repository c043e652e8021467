#pragma once

#include "ui/content/popover_content.h"

namespace korvel::platform {
class Processes;
} // namespace korvel::platform

namespace korvel {

struct ProcInfo;
struct Snapshot;

/// The popover's lists of processes, which can be ended there: all but the program itself.

/// The block under the SWAP row; a scan that runs is told only while there is nothing to list.
PopoverContent::SwapHolders swapHoldersOf(const std::vector<ProcInfo>& holders, bool scanning,
                                          platform::Processes& processes);

std::vector<PopoverContent::ProcessLine> heaviestOf(const Snapshot& snap,
                                                    platform::Processes& processes);

} // namespace korvel
