#pragma once

#include <functional>
#include <memory>

#include "platform/run_loop.h"
#include "platform/services.h"
#include "platform/status_bar.h"

namespace korvel {

class Awake;
class ContentView;
class Metrics;
class Model;
class Updater;
class WhatsNew;

/// Makes the popover that hosts the root view. The view outlives the popover.
using PopoverFactory = std::function<std::unique_ptr<platform::Popover>(ContentView& root)>;

/// Runs the program: the status item and its title, the popover, and the only periodic work there
/// is. Lives on the main thread, held by main; every callback that it hands out holds it weakly.
class AppDelegate : public std::enable_shared_from_this<AppDelegate> {
  public:
    /// Makes the model, and so loads the history. `services` and `metrics` outlive the delegate.
    /// The program's own are `Metrics::shared()`, `Awake::shared()` and so on.
    AppDelegate(const platform::Services& services, Metrics& metrics, std::shared_ptr<Awake> awake,
                std::shared_ptr<Updater> updater, std::shared_ptr<WhatsNew> whatsNew,
                PopoverFactory makePopover);
    ~AppDelegate();

    void applicationDidFinishLaunching();

    /// Saves what must survive. Called once, whichever way the program ends.
    void applicationWillTerminate();

    /// Closes the popover, or takes a sample and opens it.
    void togglePopover(const platform::ActivationRequest& request);

    /// Takes a sample and opens the popover, or brings the open one to the front. A second start of
    /// the program asks the running one for this.
    void openPopover(const platform::ActivationRequest& request);

    /// Looks for an update because the user asked.
    void checkForUpdates();

  private:
    /// A callback for that function, which does nothing once the delegate is gone.
    std::function<void()> weakly(void (AppDelegate::*action)());
    void updateTitle();
    void greet();
    void presentWhatsNew();
    void drawPopover();
    platform::MainMenu mainMenu();

    platform::StatusBar& statusBar_;
    platform::RunLoop& runLoop_;
    platform::Notifications& notifications_;
    PopoverFactory makePopover_;
    std::shared_ptr<Model> model_;
    std::shared_ptr<Awake> awake_;
    std::shared_ptr<Updater> updater_;
    std::shared_ptr<WhatsNew> whatsNew_;
    std::unique_ptr<ContentView> contentView_;
    std::unique_ptr<platform::StatusItem> statusItem_;
    std::unique_ptr<platform::Popover> popover_;
    std::unique_ptr<platform::Timer> timer_;
    std::unique_ptr<platform::Timer> saveTimer_;
    bool opened_ = false; ///< the user has opened the popover since the launch
};

} // namespace korvel
