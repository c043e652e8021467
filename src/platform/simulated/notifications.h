#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "platform/notifications.h"
#include "platform/simulated/call_log.h"
#include "platform/status_bar.h"

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
    void setAction(Action action) override {
        note("notifications.setAction");
        action_ = std::move(action);
    }
    void withdraw() override { note("withdraw"); }

    /// Clicks a notification; nothing happens where no action was set.
    void click(const ActivationRequest& request = {}) const {
        if (action_) {
            action_(request);
        }
    }

  private:
    Action action_;
};

} // namespace korvel::platform
