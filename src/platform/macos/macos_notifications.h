#pragma once

#include "platform/notifications.h"

namespace korvel::platform {

/// Posts through the user notification centre, which knows programs by their bundle identifier: one
/// that has none asks for nothing and posts nothing.
class MacosNotifications final : public Notifications {
  public:
    void requestAuthorisation() override;
    void post(const Notification& notification) override;
};

} // namespace korvel::platform
