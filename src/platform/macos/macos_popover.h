#pragma once

#include <functional>
#include <memory>

#include "platform/status_bar.h"

namespace korvel::platform {

/// A transient popover under an item of the menu bar, around a view that it is given. It goes when
/// the user looks elsewhere. A press of its own item leaves it to the item's action.
class MacosPopover final : public Popover {
  public:
    /// `closed`, which may be empty, runs each time it has closed, whoever closed it.
    explicit MacosPopover(std::function<void()> closed);
    ~MacosPopover() override;

    /// Takes an `NSView` in, in place of the one before; null: none. The popover holds it.
    void setContent(void* view);

    /// The size that the content asks for, in points. Followed at once when it is open.
    void setPreferredContentSize(double width, double height);

    /// `item` is a `MacosStatusItem`. Without its button nothing happens.
    void show(StatusItem& item, const ActivationRequest& request) override;
    void close() override;
    /// False as soon as it begins to close.
    bool shown() const override;
    void activate(const ActivationRequest& request) override;
    void makeKey() override;
    /// Of a view that has been painted.
    void drawNow() override;

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace korvel::platform
