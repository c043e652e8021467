#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "base/observable.h"
#include "model/awake.h"
#include "ui/content/popover_content.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace korvel::platform {
class Processes;
class RunLoop;
struct Services;
} // namespace korvel::platform

namespace korvel {

class Model;

/// The popover's root view without a display: turns the observed state into what is to be seen,
/// and takes what the user does to it. It never samples the machine. It announces its changes and
/// those of all that it observes.
class ContentView : public ObservableObject {
  public:
    /// On the program's own `Awake`, `Updater` and `WhatsNew`, unless others are given. The
    /// services outlive the view.
    ContentView(std::shared_ptr<Model> model, const platform::Services& services,
                std::shared_ptr<Awake> awake = Awake::shared(),
                std::shared_ptr<Updater> updater = Updater::shared(),
                std::shared_ptr<WhatsNew> whatsNew = WhatsNew::shared());
    ContentView(const ContentView&) = delete;
    ContentView& operator=(const ContentView&) = delete;

    PopoverContent content() const;

    Model& model() const { return *model_; }

    void toggleBreakdown();
    void findSwapHolders();
    /// Asks the process of that line to end; nothing when no line shows it any more.
    void quitProcess(std::int32_t pid);
    /// The same of a line of the swap holders alone. They may be older than the other list, which
    /// may show another process that has got the pid since.
    void quitSwapHolder(std::int32_t pid);
    /// Keeps the machine awake for so many minutes, or without an end.
    void enableAwake(std::optional<std::int64_t> minutes);
    void disableAwake();
    void previewReclaim();
    void runReclaim();
    void dismissReclaimPreview();
    /// What the reclaim button does in its present state.
    void pressReclaim();
    void installPending();
    void relaunch();
    /// What the button of the update line does in its present state.
    void pressUpdate();
    void dismissWhatsNew();
    /// Ends the program.
    void terminate();

  private:
    std::shared_ptr<Model> model_;
    std::shared_ptr<Awake> awake_;
    std::shared_ptr<Updater> updater_;
    std::shared_ptr<WhatsNew> whatsNew_;
    platform::Processes& processes_;
    platform::RunLoop& runLoop_;
    std::vector<Observation> observations_;
    bool showBreakdown_ = false;
};

} // namespace korvel
