#pragma once

#include <functional>
#include <string>

namespace korvel::platform {

struct ActivationRequest;

/// Both texts are plain.
struct Notification {
    std::string identifier; ///< unique
    std::string title;
    std::string body;
};

/// The desktop's notifications. Nothing here waits, and no failure is reported.
class Notifications {
  public:
    virtual ~Notifications() = default;

    /// Asks the user for leave to show alerts and play their sound, where the desktop wants that.
    virtual void requestAuthorisation() = 0;

    /// Hands a notification over, to be shown at once if the user allows it.
    virtual void post(const Notification& notification) = 0;

    using Action = std::function<void(const ActivationRequest& request)>;

    /// What a click on a notification of the program does, where the desktop leaves that to it.
    // NOLINTNEXTLINE(performance-unnecessary-value-param): an implementation keeps it
    virtual void setAction(Action /*action*/) {}

    /// Takes back what is still shown and would be of no use without the program, which is about to
    /// end.
    virtual void withdraw() {}
};

} // namespace korvel::platform
