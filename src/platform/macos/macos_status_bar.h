#pragma once

#include <memory>

#include "platform/status_bar.h"

namespace korvel::platform {

/// An item of the menu bar, as wide as its title.
class MacosStatusItem final : public StatusItem {
  public:
    MacosStatusItem();
    ~MacosStatusItem() override;

    void setTitle(const StatusTitle& title) override;
    /// Nothing: the bar has room for the title.
    void setToolTip(const std::string& text) override;
    void setAction(std::function<void()> action) override;

    /// The item's button, an `NSView` that the item holds; null when the bar gave none.
    void* button() const;

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

/// The menu bar. The application object exists before it.
class MacosStatusBar final : public StatusBar {
  public:
    std::unique_ptr<StatusItem> makeStatusItem() override;

    /// Installs them as the application's. An item without an action sends the one that AppKit
    /// names like the item ("Select All": `selectAll:`) along the responder chain.
    void setMainMenu(MainMenu menu) override;
};

} // namespace korvel::platform
