#pragma once

#include <cstdint>
#include <memory>

#include "model/observable.h"
#include "ui/content/popover_content.h"

namespace korvel::platform {
class Processes;
} // namespace korvel::platform

namespace korvel {

class Model;

/// The popover's root view without a display: turns the observed state into what is to be seen,
/// and takes what the user does to it. It never samples the machine. It announces its changes and
/// those of all that it observes.
class ContentView : public ObservableObject {
  public:
    ContentView(std::shared_ptr<Model> model, platform::Processes& processes);
    ContentView(const ContentView&) = delete;
    ContentView& operator=(const ContentView&) = delete;

    PopoverContent content() const;

    /// The model whose state the view shows.
    Model& model() const { return *model_; }

    void toggleBreakdown();
    void findSwapHolders();
    /// Asks the process of that line to end; nothing when no line shows it any more.
    void quitProcess(std::int32_t pid);

  private:
    std::shared_ptr<Model> model_;
    platform::Processes& processes_;
    Observation observation_;
    bool showBreakdown_ = false;
};

} // namespace korvel
