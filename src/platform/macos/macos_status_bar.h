#pragma once

#include <memory>

#include "platform/status_bar.h"

namespace korvel::platform {

class MacosApplication;

/// An item of the menu bar, as wide as its title.
class MacosStatusItem final : public StatusItem {
  public:
    /// The application outlives the item. There is one item at a time: its action is the
    /// application's.
    explicit MacosStatusItem(MacosApplication& application);
    ~MacosStatusItem() override;

    void setTitle(const StatusTitle& title) override;
    /// Nothing: the bar has room for the title.
    void setToolTip(const std::string& text) override;
    void setAction(Action action) override;

    /// The item's button, an `NSView` that the item holds; null when the bar gave none.
    void* button() const;

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

/// The menu bar.
class MacosStatusBar final : public StatusBar {
  public:
    /// The application outlives the bar.
    explicit MacosStatusBar(MacosApplication& application) : application_(application) {}

    std::unique_ptr<StatusItem> makeStatusItem() override;

    /// Installs them as the application's. No item has a target: it sends its command along the
    /// responder chain, and the functions of the items are not used.
    void setMainMenu(MainMenu menu) override;

  private:
    MacosApplication& application_;
};

} // namespace korvel::platform
