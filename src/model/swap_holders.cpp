#include <algorithm>

#include "model/model.h"
#include "platform/processes.h"
#include "platform/run_loop.h"
#include "platform/swapped_memory.h"

namespace korvel {

namespace {

/// Each costs a measurement, which may be the run of a tool.
constexpr int kCandidates = 12;
constexpr double kSmallestHeldGB = 0.05;
constexpr std::size_t kLongestList = 6;
/// Seconds that a process is given to end before the sample that shows it gone.
constexpr double kRefreshAfterQuit = 1.2;

std::vector<ProcInfo> holdersAmong(const std::vector<ProcInfo>& candidates,
                                   platform::SwappedMemory& memory) {
    std::vector<ProcInfo> holders;
    for (const ProcInfo& candidate : candidates) {
        const double held = Metrics::swappedGB(candidate.id, memory);
        if (held >= kSmallestHeldGB) {
            holders.push_back({candidate.id, candidate.name, held, candidate.startTime});
        }
    }
    std::stable_sort(holders.begin(), holders.end(),
                     [](const ProcInfo& a, const ProcInfo& b) { return a.gb > b.gb; });
    holders.resize(std::min(holders.size(), kLongestList));
    return holders;
}

} // namespace

void Model::findSwapHolders() {
    if (*scanningSwap) {
        return;
    }
    scanningSwap = true;
    swapHolders = {};
    runLoop_.background([self = shared_from_this(), &memory = swappedMemory_, &main = runLoop_,
                         candidates = metrics_.topProcesses(kCandidates)]() mutable {
        std::vector<ProcInfo> holders = holdersAmong(candidates, memory);
        main.async([model = std::move(self), found = std::move(holders)] {
            model->swapHolders = found;
            model->scanningSwap = false;
        });
    });
}

void Model::quit(const ProcInfo& process) {
    if (process.isSelf(processes_)) {
        return;
    }
    processes_.terminateIfSame(process.id, process.startTime);
    // Holds the model strongly, so that the sample is taken even if nobody else holds it.
    runLoop_.after(kRefreshAfterQuit, [self = shared_from_this()] { self->refresh(); });
}

} // namespace korvel
