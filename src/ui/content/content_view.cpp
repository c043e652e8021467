#include "ui/content/content_view.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

#include "model/model.h"
#include "platform/run_loop.h"
#include "platform/services.h"
#include "ui/content/action_sections.h"
#include "ui/content/metric_rows.h"
#include "ui/content/process_lists.h"
#include "ui/content/score_sections.h"
#include "ui/content/update_sections.h"

namespace korvel {

namespace {

/// False: the list does not show it.
bool quitIn(Model& model, const std::vector<ProcInfo>& list, std::int32_t pid) {
    const auto found = std::find_if(list.begin(), list.end(),
                                    [pid](const ProcInfo& process) { return process.id == pid; });
    if (found == list.end()) {
        return false;
    }
    model.quit(*found);
    return true;
}

} // namespace

ContentView::ContentView(std::shared_ptr<Model> model, const platform::Services& services,
                         std::shared_ptr<Awake> awake, std::shared_ptr<Updater> updater,
                         std::shared_ptr<WhatsNew> whatsNew)
    : model_(std::move(model)), awake_(std::move(awake)), updater_(std::move(updater)),
      whatsNew_(std::move(whatsNew)), processes_(services.processes), runLoop_(services.runLoop) {
    const std::initializer_list<const ObservableObject*> observed{model_.get(), awake_.get(),
                                                                  updater_.get(), whatsNew_.get()};
    for (const ObservableObject* object : observed) {
        observations_.push_back(object->observe([this] { objectWillChange(); }));
    }
}

PopoverContent ContentView::content() const {
    const Snapshot& snap = *model_->snap;
    PopoverContent content;
    if (const WhatsNewBanner banner(whatsNew_); banner.isShown()) {
        content.banner = banner.content();
    }
    content.header = headerOf(snap, showBreakdown_);
    if (showBreakdown_) {
        content.breakdown = breakdownOf(snap);
    }
    content.status = statusOf(snap);
    content.rows = metricRows(snap, *model_->history);
    content.swapHolders = swapHoldersOf(*model_->swapHolders, *model_->scanningSwap, processes_);
    content.heaviest = heaviestOf(snap, processes_);
    content.keepAwake = keepAwakeOf(*awake_);
    content.update = updateLineOf(*updater_);
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
    if (!quitIn(*model_, model_->snap->topProcs, pid)) {
        quitSwapHolder(pid);
    }
}

void ContentView::quitSwapHolder(std::int32_t pid) {
    quitIn(*model_, *model_->swapHolders, pid);
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

void ContentView::installPending() {
    updater_->installPending();
}

void ContentView::relaunch() {
    updater_->relaunch();
}

void ContentView::pressUpdate() {
    using Action = PopoverContent::UpdateLine::Action;
    const std::optional<PopoverContent::UpdateLine> line = updateLineOf(*updater_);
    switch (line ? line->action : Action::none) {
    case Action::install:
        installPending();
        break;
    case Action::relaunch:
        relaunch();
        break;
    case Action::none:
        break;
    }
}

void ContentView::dismissWhatsNew() {
    whatsNew_->dismiss();
}

void ContentView::terminate() {
    runLoop_.terminate();
}

} // namespace korvel
