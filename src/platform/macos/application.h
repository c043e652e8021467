#pragma once

#include <functional>
#include <memory>
#include <optional>

/// The application object, which all of this makes when it is not there yet.
namespace korvel::platform {

/// Makes this a program of the menu bar: no place in the Dock, and no menus until it is active.
void becomeAccessory();

/// Brings the program to the front, over the active one.
void activateApplication();

/// Of the screen with the window that has the keyboard, without menu bar and Dock, in points;
/// nullopt when there is no screen.
std::optional<double> visibleScreenHeight();

/// Says when AppKit is about to end the program: the user quits it, or the session ends.
class TerminationNotice {
  public:
    /// `notify` runs on the main thread and is the last that the program does.
    explicit TerminationNotice(std::function<void()> notify);
    ~TerminationNotice();
    TerminationNotice(const TerminationNotice&) = delete;
    TerminationNotice& operator=(const TerminationNotice&) = delete;

  private:
    struct Observer;
    std::unique_ptr<Observer> observer_;
};

} // namespace korvel::platform
