#pragma once

#include <functional>
#include <memory>
#include <optional>

namespace korvel::platform {

/// AppKit's application object, and what it asks its delegate: to open the popover, to look for
/// updates, to end. To be made before Qt's application, whose own delegate then leaves these
/// questions to the one that it finds; and nothing of Qt activates the program at its launch, so
/// the front program keeps the keyboard.
class MacosApplication {
  public:
    /// Makes the application object, as one of the menu bar: no place in the Dock, and no menus
    /// until it is active.
    MacosApplication();
    /// From now on nothing is asked of it.
    ~MacosApplication();
    MacosApplication(const MacosApplication&) = delete;
    MacosApplication& operator=(const MacosApplication&) = delete;

    /// What a click on the status item does; empty: nothing.
    void setTogglePopover(std::function<void()> togglePopover);
    /// What the menu's item for it does; empty: nothing.
    void setCheckForUpdates(std::function<void()> checkForUpdates);
    /// Runs once, on the main thread, when AppKit is about to end the program: the user quits it,
    /// or the session ends. A request to end is never refused or put off.
    void setWillTerminate(std::function<void()> willTerminate);

    /// The delegate, an object that this one holds.
    void* delegate() const;

    /// Asks AppKit to end the program, as the menu's "Quit" does: `willTerminate` runs, and then
    /// the process ends.
    void terminate();

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

/// Brings the program to the front, over the active one.
void activateApplication();

/// Of the screen with the window that has the keyboard, without menu bar and Dock, in points;
/// nullopt when there is no screen.
std::optional<double> visibleScreenHeight();

} // namespace korvel::platform
