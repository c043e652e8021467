#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "base/observable.h"
#include "ui/content/popover_content.h"

namespace korvel::platform {
class Processes;
class RunLoop;
struct Services;
} // namespace korvel::platform

namespace korvel {

class Awake;
class Model;
class Updater;
class WhatsNew;

/// The popover's root view without a display: turns the observed state into what is to be seen,
/// and takes what the user does to it. It never samples the machine. It announces its changes and
/// those of all that it observes.
class ContentView : public ObservableObject {
  public:
    /// The services outlive the view.
    ContentView(std::shared_ptr<Model> model, std::shared_ptr<Awake> awake,
                std::shared_ptr<Updater> updater, std::shared_ptr<WhatsNew> whatsNew,
                const platform::Services& services);
    ContentView(const ContentView&) = delete;
    ContentView& operator=(const ContentView&) = delete;

    PopoverContent content() const;

    /// What the view shows the state of.
    Model& model() const { return *model_; }
    Awake& awake() const { return *awake_; }
    Updater& updater() const { return *updater_; }
    WhatsNew& whatsNew() const { return *whatsNew_; }

    void toggleBreakdown();
    void findSwapHolders();
    /// Asks the process of that line to end; nothing when no line shows it any more.
    void quitProcess(std::int32_t pid);
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
