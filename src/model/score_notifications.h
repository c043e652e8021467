#pragma once

#include "platform/clock.h"

namespace korvel::platform {
class Clock;
class Notifications;
class UserDefaults;
} // namespace korvel::platform

namespace korvel {

struct Snapshot;

/// Tells the user that the machine has become slow: when the score is low, has clearly fallen since
/// it was last told, and that was a while ago. What was last told outlives the program; the quiet
/// time after launch starts anew with each object. Main thread only.
class ScoreNotifications {
  public:
    ScoreNotifications(platform::Clock& clock, platform::UserDefaults& defaults,
                       platform::Notifications& notifications);

    /// Considers a reading that was just published; posts at most one notification.
    void maybeNotify(const Snapshot& snapshot);

  private:
    platform::Clock& clock_;
    platform::UserDefaults& defaults_;
    platform::Notifications& notifications_;
    platform::Date launchedAt_;
};

} // namespace korvel
