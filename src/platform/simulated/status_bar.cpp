#include "platform/simulated/status_bar.h"

#include <utility>

namespace korvel::platform {

class SimulatedStatusBar::Item final : public StatusItem {
  public:
    explicit Item(SimulatedStatusBar& bar) : bar_(bar) {
        ++bar_.items;
        bar_.item_ = this;
    }
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;
    ~Item() override {
        --bar_.items;
        if (bar_.item_ == this) {
            bar_.item_ = nullptr;
        }
    }

    void setTitle(const StatusTitle& title) override {
        bar_.note("setTitle " + title.text());
        bar_.titles.push_back(title);
        if (bar_.onTitle) {
            bar_.onTitle(title);
        }
    }

    void setToolTip(const std::string& text) override { bar_.toolTip = text; }

    void setAction(std::function<void()> action) override { action_ = std::move(action); }

    void click() const {
        if (const auto action = action_) { // a copy: it may set another
            action();
        }
    }

  private:
    SimulatedStatusBar& bar_;
    std::function<void()> action_;
};

std::unique_ptr<StatusItem> SimulatedStatusBar::makeStatusItem() {
    note("makeStatusItem");
    return std::make_unique<Item>(*this);
}

void SimulatedStatusBar::setMainMenu(MainMenu menu) {
    note("setMainMenu");
    mainMenu = std::move(menu);
}

void SimulatedStatusBar::click() {
    if (item_ != nullptr) {
        item_->click();
    }
}

bool SimulatedStatusBar::choose(const std::string& title) {
    for (const Menu& menu : mainMenu.menus) {
        for (const MenuItem& item : menu.items) {
            if (item.title == title) {
                if (const auto action = item.action) { // a copy: it may install other menus
                    action();
                }
                return true;
            }
        }
    }
    return false;
}

SimulatedPopover::SimulatedPopover(std::function<void(bool)> onShown, CallLog* callLog)
    : onShown_(std::move(onShown)) {
    log = callLog;
    note("makePopover");
}

void SimulatedPopover::show(StatusItem& /*item*/) {
    note("show");
    become(true);
}

void SimulatedPopover::close() {
    note("close");
    become(false);
}

void SimulatedPopover::activate() {
    note("activate");
}

void SimulatedPopover::makeKey() {
    note("makeKey");
}

void SimulatedPopover::drawNow() {
    note("drawNow");
}

void SimulatedPopover::clickOutside() {
    become(false);
}

void SimulatedPopover::become(bool shown) {
    if (std::exchange(shown_, shown) != shown && onShown_) {
        onShown_(shown);
    }
}

} // namespace korvel::platform
