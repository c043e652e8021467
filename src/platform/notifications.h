#pragma once

#include <string>

namespace korvel::platform {

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
};

} // namespace korvel::platform
