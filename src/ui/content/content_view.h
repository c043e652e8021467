#pragma once

#include <memory>

#include "ui/content/popover_content.h"

namespace korvel {

class Model;

/// The popover's root view without a display: turns the observed state into what is to be seen. It
/// never samples the machine.
class ContentView {
  public:
    explicit ContentView(std::shared_ptr<Model> model) : model_(std::move(model)) {}

    PopoverContent content() const;

    /// What the view shows; whoever draws it observes this and draws again on the next turn of the
    /// run loop after an announcement.
    Model& model() const { return *model_; }

  private:
    std::shared_ptr<Model> model_;
};

} // namespace korvel
