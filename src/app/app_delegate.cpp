#include "app/app_delegate.h"

#include <utility>

#include "app/status_title.h"
#include "core/metrics.h"
#include "model/awake.h"
#include "model/model.h"
#include "platform/notifications.h"
#include "ui/content/content_view.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace korvel {

using platform::ActivationRequest;

namespace {

constexpr double kRefreshInterval = 5.0; // seconds
constexpr double kSaveInterval = 120.0;  // seconds
// Seconds. Processor load is the difference of two readings, so the first sample has none.
constexpr double kSecondRefreshDelay = 1.0;
constexpr double kPresentDelay = 1.2; // seconds

} // namespace

AppDelegate::AppDelegate(const platform::Services& services, Metrics& metrics,
                         std::shared_ptr<Awake> awake, std::shared_ptr<Updater> updater,
                         std::shared_ptr<WhatsNew> whatsNew, PopoverFactory makePopover)
    : statusBar_(services.statusBar), runLoop_(services.runLoop),
      notifications_(services.notifications), makePopover_(std::move(makePopover)),
      model_(std::make_shared<Model>(metrics, services)), awake_(std::move(awake)),
      updater_(std::move(updater)), whatsNew_(std::move(whatsNew)),
      contentView_(std::make_unique<ContentView>(model_, services, awake_, updater_, whatsNew_)) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching() {
    const auto weaklyAsked = [this](void (AppDelegate::*action)(const ActivationRequest&)) {
        return [weak = weak_from_this(), action](const ActivationRequest& request) {
            if (const auto self = weak.lock()) {
                (self.get()->*action)(request);
            }
        };
    };
    const auto weaklyRefresh = [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->model_->refresh();
        }
    };
    const auto weaklySave = [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->model_->saveHistory();
        }
    };

    statusItem_ = statusBar_.makeStatusItem();
    statusItem_->setAction(weaklyAsked(&AppDelegate::togglePopover));
    statusItem_->setOpenAction(weaklyAsked(&AppDelegate::openPopover));
    popover_ = makePopover_(*contentView_);
    updater_->onInstalling = weakly(&AppDelegate::drawPopover);
    model_->onUpdate = weakly(&AppDelegate::updateTitle);
    model_->refresh();
    runLoop_.after(kSecondRefreshDelay, weaklyRefresh);
    timer_ = runLoop_.every(kRefreshInterval, weaklyRefresh);
    saveTimer_ = runLoop_.every(kSaveInterval, weaklySave);
    updateTitle();
    notifications_.setAction(weaklyAsked(&AppDelegate::openPopover));
    notifications_.requestAuthorisation();
    statusBar_.setMainMenu(mainMenu());
    runLoop_.async([updater = updater_] { updater->checkInBackground(); });
    awake_->onChange = weakly(&AppDelegate::updateTitle);
    awake_->restore();
    whatsNew_->evaluate();
    statusItem_->whenSeen(weakly(&AppDelegate::greet));
}

std::function<void()> AppDelegate::weakly(void (AppDelegate::*action)()) {
    return [weak = weak_from_this(), action] {
        if (const auto self = weak.lock()) {
            (self.get()->*action)();
        }
    };
}

void AppDelegate::applicationWillTerminate() {
    model_->saveHistory();
    awake_->releaseOnQuit();
    updater_->abandon();
    notifications_.withdraw();
}

void AppDelegate::togglePopover(const ActivationRequest& request) {
    if (popover_ && popover_->shown()) {
        popover_->close();
        return;
    }
    openPopover(request);
}

void AppDelegate::openPopover(const ActivationRequest& request) {
    if (!popover_) {
        return; // the launch is to come
    }
    if (!popover_->shown()) {
        opened_ = true;
        model_->refresh();
        popover_->show(*statusItem_, request);
    }
    popover_->activate(request);
    popover_->makeKey();
}

void AppDelegate::greet() {
    // Whoever opened the popover while the item was waited for has seen what it says.
    if (whatsNew_->shouldAutoPresent() && !opened_) {
        runLoop_.after(kPresentDelay, weakly(&AppDelegate::presentWhatsNew));
    }
}

void AppDelegate::presentWhatsNew() {
    if (!popover_->shown()) {
        popover_->show(*statusItem_, {});
        popover_->activate({});
    }
}

void AppDelegate::drawPopover() {
    popover_->drawNow();
}

void AppDelegate::checkForUpdates() {
    runLoop_.async([updater = updater_] { updater->check(true); });
}

void AppDelegate::updateTitle() {
    statusItem_->setTitle(statusTitle(model_->snap->score, *awake_->on));
    statusItem_->setToolTip(statusToolTip(*model_->snap, *awake_->on));
    statusItem_->setSummary(statusSummary(*model_->snap));
}

platform::MainMenu AppDelegate::mainMenu() {
    const auto check = [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->checkForUpdates();
        }
    };
    using enum platform::MenuCommand;
    return {{{"",
              {{"Check for Updates…", checkForUpdates, check, ""},
               {},
               {"Quit Korvel", terminate, [&runLoop = runLoop_] { runLoop.terminate(); }, "q"}}},
             {"Edit",
              {{"Cut", cut, {}, "x"},
               {"Copy", copy, {}, "c"},
               {"Paste", paste, {}, "v"},
               {"Select All", selectAll, {}, "a"}}}}};
}

} // namespace korvel
