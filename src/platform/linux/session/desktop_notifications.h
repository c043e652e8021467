#pragma once

#include <functional>
#include <string>

#include <QObject>

#include "platform/notifications.h"

namespace korvel::platform {

/// Posts through org.freedesktop.Notifications on the session bus, which is never waited for. No
/// bus, or no service on it: nothing is shown, and the failure is silent.
class DesktopNotifications final : public Notifications {
  public:
    using Words = std::function<std::string(std::string)>;

    /// `words` turns each text into the words of this desktop.
    explicit DesktopNotifications(Words words);

    /// Nothing: this desktop asks nobody for permission.
    void requestAuthorisation() override {}
    void post(const Notification& notification) override;

    /// A text as the body of a notification: escaped for a service that renders markup, else plain.
    /// Control characters become spaces.
    static std::string body(const std::string& text, bool markup);

  private:
    Words words_;
    QObject replies_; ///< the context of calls whose answers are still to come
};

} // namespace korvel::platform
