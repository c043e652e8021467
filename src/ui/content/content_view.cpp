#include "ui/content/content_view.h"

#include <algorithm>
#include <utility>

#include "model/model.h"
#include "ui/content/metric_rows.h"
#include "ui/content/score_sections.h"

namespace korvel {

ContentView::ContentView(std::shared_ptr<Model> model, platform::Processes& processes)
    : model_(std::move(model)), processes_(processes) {
    observation_ = model_->observe([this] { objectWillChange(); });
}

PopoverContent ContentView::content() const {
    const Snapshot& snap = *model_->snap;
    PopoverContent content;
    content.header = headerOf(snap, showBreakdown_);
    if (showBreakdown_) {
        content.breakdown = breakdownOf(snap);
    }
    content.status = statusOf(snap);
    content.rows = metricRows(snap, *model_->history);
    content.swapHolders = swapHoldersOf(*model_->swapHolders, *model_->scanningSwap, processes_);
    content.heaviest = heaviestOf(snap, processes_);
    return content;
}

void ContentView::toggleBreakdown() {
    objectWillChange();
    showBreakdown_ = !showBreakdown_;
}

void ContentView::findSwapHolders() {
    model_->findSwapHolders();
}

void ContentView::quitProcess(std::int32_t pid) {
    const auto quitIn = [&](const std::vector<ProcInfo>& list) {
        const auto found = std::find_if(
            list.begin(), list.end(), [pid](const ProcInfo& process) { return process.id == pid; });
        if (found == list.end()) {
            return false;
        }
        model_->quit(*found);
        return true;
    };
    if (!quitIn(model_->snap->topProcs)) {
        quitIn(*model_->swapHolders);
    }
}

} // namespace korvel
