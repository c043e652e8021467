#pragma once

#include <functional>
#include <string>

#include <QObject>

#include "platform/notifications.h"

namespace korvel::platform {

/// Posts through org.freedesktop.Notifications on the session bus, which is never waited for. No
/// bus, and no service on it: nothing is shown, and nobody is told.
class DesktopNotifications final : public Notifications {
  public:
    using Words = std::function<std::string(std::string)>;

    /// `words` says each text in the words of the desktop.
    explicit DesktopNotifications(Words words);

    /// This desktop wants no leave.
    void requestAuthorisation() override {}
    void post(const Notification& notification) override;

    /// A text as a body that the service renders as markup, or as plain text, where characters that
    /// cannot be shown become spaces.
    static std::string body(const std::string& text, bool markup);

  private:
    Words words_;
    QObject replies_; ///< what still waits for an answer goes with it
};

} // namespace korvel::platform
