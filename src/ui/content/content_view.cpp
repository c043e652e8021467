#include "ui/content/content_view.h"

#include <algorithm>
#include <utility>

#include "model/awake.h"
#include "model/model.h"
#include "platform/run_loop.h"
#include "platform/services.h"
#include "ui/content/action_sections.h"
#include "ui/content/metric_rows.h"
#include "ui/content/score_sections.h"

namespace korvel {

ContentView::ContentView(std::shared_ptr<Model> model, std::shared_ptr<Awake> awake,
                         const platform::Services& services)
    : model_(std::move(model)), awake_(std::move(awake)), processes_(services.processes),
      runLoop_(services.runLoop) {
    modelObservation_ = model_->observe([this] { objectWillChange(); });
    awakeObservation_ = awake_->observe([this] { objectWillChange(); });
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
    content.keepAwake = keepAwakeOf(*awake_);
    content.footer = footerOf(*model_);
    content.reclaimResult = *model_->reclaimResult;
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

void ContentView::enableAwake(std::optional<std::int64_t> minutes) {
    awake_->enable(minutes);
}

void ContentView::disableAwake() {
    awake_->disable();
}

void ContentView::previewReclaim() {
    model_->previewReclaim();
}

void ContentView::runReclaim() {
    model_->runReclaim();
}

void ContentView::dismissReclaimPreview() {
    model_->dismissReclaimPreview();
}

void ContentView::pressReclaim() {
    using Action = PopoverContent::ReclaimButton::Action;
    switch (footerOf(*model_).reclaim.action) {
    case Action::preview:
        previewReclaim();
        break;
    case Action::run:
        runReclaim();
        break;
    case Action::none:
        break;
    }
}

void ContentView::terminate() {
    runLoop_.terminate();
}

} // namespace korvel
