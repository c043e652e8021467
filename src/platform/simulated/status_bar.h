#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/simulated/call_log.h"
#include "platform/status_bar.h"

namespace korvel::platform {

/// What stands in a simulated menu bar, and what a user may do there. It outlives the items that
/// it makes.
class SimulatedStatusBar final : public StatusBar, public Logging {
  public:
    std::unique_ptr<StatusItem> makeStatusItem() override;
    void setMainMenu(MainMenu menu) override;

    bool inSight = true;             ///< whether an item is to be seen as soon as it is made
    int items = 0;                   ///< that stand in the bar now
    std::vector<StatusTitle> titles; ///< every title that was set, in order
    std::string toolTip;             ///< the last
    std::string summary;             ///< the last
    MainMenu mainMenu;               ///< the last
    std::function<void(const StatusTitle&)> onTitle; ///< called at each title; may be empty

    /// Shows the item that was made last, if it was not in sight and is not gone.
    void comeIntoSight();

    /// Clicks the item that was made last; nothing happens when it is gone.
    void click(const ActivationRequest& request = {});

    /// Chooses the entry of the item's own menu that opens the popover.
    void open(const ActivationRequest& request = {});

    /// Chooses the menu item of that title in any menu. False: there is none.
    bool choose(const std::string& title);

  private:
    class Item;

    Item* item_ = nullptr;
};

/// A popover that shows nothing.
class SimulatedPopover final : public Popover, public Logging {
  public:
    /// `onShown` is told of each opening and each closing; it may be empty.
    explicit SimulatedPopover(std::function<void(bool)> onShown = {}, CallLog* callLog = nullptr);

    void show(StatusItem& item, const ActivationRequest& request) override;
    void close() override;
    bool shown() const override { return shown_; }
    void activate(const ActivationRequest& request) override;
    void makeKey() override;
    void drawNow() override;

    /// The user clicks elsewhere: an open popover closes by itself.
    void clickOutside();

    std::vector<ActivationRequest> requests;    ///< that came with each `show`, in order
    std::vector<ActivationRequest> activations; ///< and with each `activate`

  private:
    void become(bool shown);

    std::function<void(bool)> onShown_;
    bool shown_ = false;
};

} // namespace korvel::platform
