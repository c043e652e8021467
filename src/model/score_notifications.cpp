#include "model/score_notifications.h"

#include <cstdint>
#include <string>

#include <fmt/format.h>

#include "base/uuid.h"
#include "core/snapshot.h"
#include "platform/defaults.h"
#include "platform/notifications.h"

namespace korvel {

namespace {

constexpr const char* kLastNotifiedScoreKey = "lastNotifiedScore";
constexpr const char* kLastNotifiedAtKey = "lastNotifiedAt";

constexpr double kQuietAfterLaunch = 120; // seconds; a machine that starts up is always slow
constexpr double kLeastInterval = 900;    // seconds between two notifications
constexpr std::int64_t kLowScore = 55;    // at or above this nothing is told
constexpr std::int64_t kClearDrop = 12;   // points below what was last told
constexpr std::int64_t kNeverTold = 100;  // stands for an absent score, and for a stored 0

/// Names are joined, never used as a format: they may hold any character.
std::string bodyOf(const Snapshot& snapshot) {
    if (!snapshot.alerts.empty()) {
        return snapshot.alerts.front();
    }
    if (!snapshot.topProcs.empty()) {
        const ProcInfo& heaviest = snapshot.topProcs.front();
        return "Heaviest: " + heaviest.name + fmt::format(" at {:.1f} GB", heaviest.gb);
    }
    return "Check Halden";
}

} // namespace

ScoreNotifications::ScoreNotifications(platform::Clock& clock, platform::UserDefaults& defaults,
                                       platform::Notifications& notifications)
    : clock_(clock), defaults_(defaults), notifications_(notifications), launchedAt_(clock.now()) {}

void ScoreNotifications::maybeNotify(const Snapshot& snapshot) {
    const platform::Date now = clock_.now();
    if (!(now - launchedAt_ > kQuietAfterLaunch)) {
        return;
    }
    const std::int64_t stored = defaults_.integer(kLastNotifiedScoreKey);
    const std::int64_t last = stored == 0 ? kNeverTold : stored;
    if (snapshot.score < kLowScore && snapshot.score + kClearDrop <= last &&
        now - defaults_.real(kLastNotifiedAtKey) > kLeastInterval) {
        // Stored first, and whatever becomes of the notification.
        defaults_.set(kLastNotifiedScoreKey, snapshot.score);
        defaults_.set(kLastNotifiedAtKey, now);
        notifications_.post({Uuid::random().text(),
                             fmt::format("Mac slowing down: score {}", snapshot.score),
                             bodyOf(snapshot)});
        return;
    }
    // What was last told follows the score up, so that only a new fall is told again.
    if (snapshot.score > last) {
        defaults_.set(kLastNotifiedScoreKey, snapshot.score);
    }
}

} // namespace korvel
