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
        if (bar_.log != nullptr) {
            bar_.note("setTitle ", title.text());
        }
        bar_.titles.push_back(title);
        if (bar_.onTitle) {
            bar_.onTitle(title);
        }
    }

    void setToolTip(const std::string& text) override { bar_.toolTip = text; }

    void setSummary(const std::string& text) override { bar_.summary = text; }

    void setAction(Action action) override {
        bar_.note("setAction");
        action_ = std::move(action);
    }

    void setOpenAction(Action action) override {
        bar_.note("setOpenAction");
        openAction_ = std::move(action);
    }

    void whenSeen(const std::function<void()>& work) override {
        if (bar_.inSight) {
            work();
        } else {
            whenSeen_ = work;
        }
    }

    void comeIntoSight() {
        if (const auto work = std::exchange(whenSeen_, nullptr)) {
            work();
        }
    }

    void click(const ActivationRequest& request) const { run(action_, request); }

    void open(const ActivationRequest& request) const { run(openAction_, request); }

  private:
    static void run(const Action& kept, const ActivationRequest& request) {
        if (const auto action = kept) { // a copy: it may set another
            action(request);
        }
    }

    SimulatedStatusBar& bar_;
    Action action_;
    Action openAction_;
    std::function<void()> whenSeen_;
};

std::unique_ptr<StatusItem> SimulatedStatusBar::makeStatusItem() {
    note("makeStatusItem");
    return std::make_unique<Item>(*this);
}

void SimulatedStatusBar::setMainMenu(MainMenu menu) {
    note("setMainMenu");
    mainMenu = std::move(menu);
}

void SimulatedStatusBar::comeIntoSight() {
    inSight = true;
    if (item_ != nullptr) {
        item_->comeIntoSight();
    }
}

void SimulatedStatusBar::click(const ActivationRequest& request) {
    if (item_ != nullptr) {
        item_->click(request);
    }
}

void SimulatedStatusBar::open(const ActivationRequest& request) {
    if (item_ != nullptr) {
        item_->open(request);
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

void SimulatedPopover::show(StatusItem& /*item*/, const ActivationRequest& request) {
    requests.push_back(request);
    note("show");
    become(true);
}

void SimulatedPopover::close() {
    note("close");
    become(false);
}

void SimulatedPopover::activate(const ActivationRequest& request) {
    activations.push_back(request);
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
