#pragma once

#include <functional>
#include <vector>

#include "platform/notifications.h"
#include "platform/simulated/call_log.h"

namespace korvel::platform {

/// Keeps what was posted.
class SimulatedNotifications final : public Notifications, public Logging {
  public:
    std::vector<Notification> posted;
    std::function<void(const Notification&)> onPost; ///< called at each; may be empty

    void requestAuthorisation() override { note("requestAuthorisation"); }
    void post(const Notification& notification) override {
        note("post");
        posted.push_back(notification);
        if (onPost) {
            onPost(notification);
        }
    }
};

} // namespace korvel::platform
