#include "ui/content/process_lists.h"

#include <utility>

#include <fmt/format.h>

#include "core/snapshot.h"
#include "ui/content/spoken.h"

namespace korvel {

namespace {

PopoverContent::QuitButton quitButton(const ProcInfo& process, std::string tooltip,
                                      std::string description) {
    return {"Quit " + spokenName(process.name), std::move(tooltip), std::move(description)};
}

} // namespace

PopoverContent::SwapHolders swapHoldersOf(const std::vector<ProcInfo>& holders, bool scanning,
                                          platform::Processes& processes) {
    PopoverContent::SwapHolders block;
    block.scanning = scanning;
    if (holders.empty()) {
        block.button = scanning ? "checking…" : "what's holding it";
        return block;
    }
    for (const ProcInfo& holder : holders) {
        PopoverContent::ProcessLine line{
            holder.id, holder.name, fmt::format("{:.1f} GB", holder.gb), {}};
        if (!holder.isSelf(processes)) {
            const std::string tooltip = "Quit this app to free its swap";
            line.quit = quitButton(holder, tooltip, tooltip);
        }
        block.holders.push_back(std::move(line));
    }
    block.note = "Quitting one frees its swap straight away. No restart needed.";
    return block;
}

std::vector<PopoverContent::ProcessLine> heaviestOf(const Snapshot& snap,
                                                    platform::Processes& processes) {
    std::vector<PopoverContent::ProcessLine> lines;
    for (const ProcInfo& process : snap.topProcs) {
        PopoverContent::ProcessLine line{
            process.id, process.name, fmt::format("{:.2f} GB", process.gb), {}};
        if (!process.isSelf(processes)) {
            const std::string deed = "Sends SIGTERM so it closes cleanly";
            line.quit = quitButton(process, "Quit " + process.name + ". " + deed, deed);
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

} // namespace korvel
