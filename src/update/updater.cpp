#include "update/updater.h"

#include <utility>

#include "base/fatal.h"
#include "platform/bundle.h"
#include "platform/defaults.h"
#include "platform/http.h"
#include "platform/run_loop.h"
#include "platform/services.h"
#include "platform/workspace.h"

#ifndef KORVEL_UPDATE_HOST
#error "the build names the host of the feed"
#endif

namespace korvel {

namespace {

constexpr int kStatusOk = 200;
constexpr double kFeedTimeout = 15;      // seconds
constexpr double kUpToDateShown = 4;     // seconds
constexpr double kCheckInterval = 86400; // seconds

} // namespace

const std::shared_ptr<Updater>& Updater::shared() {
    static const std::shared_ptr<Updater> updater = [] {
        if (platform::installedServices == nullptr) {
            fatal();
        }
        return std::make_shared<Updater>(*platform::installedServices);
    }();
    return updater;
}

const std::string& Updater::appcast() {
    static const std::string url = "https://" KORVEL_UPDATE_HOST "/appcast.json";
    return url;
}

Updater::Updater(const platform::Services& services, std::function<Uuid()> newUuid)
    : bundle_(services.bundle), clock_(services.clock), runLoop_(services.runLoop),
      defaults_(services.defaults), workspace_(services.workspace), http_(services.http),
      fileManager_(services.fileManager), digest_(services.digest), archive_(services.archive),
      codeSignature_(services.codeSignature), programLoader_(services.programLoader),
      newUuid_(std::move(newUuid)) {
    if (const double last = defaults_.real(checkedKey); last > 0) {
        lastChecked = last;
    }
}

std::string Updater::currentVersion() const {
    return bundle_.infoString("CFBundleShortVersionString").value_or("0");
}

std::int64_t Updater::currentBuild() const {
    return buildNumber(bundle_.infoString("CFBundleVersion").value_or("0"));
}

std::string Updater::releaseNotes() const {
    return pending ? pending->notes : "";
}

void Updater::fetchAppcast(std::function<void(std::optional<Release>)> done) {
    http_.get(appcast(), kFeedTimeout,
              [done = std::move(done)](std::optional<platform::HttpResponse> response) {
                  const bool isFeed = response && response->status == kStatusOk;
                  done(isFeed ? decodeRelease(std::move(response->body)) : std::nullopt);
              });
}

void Updater::check(bool userInitiated, Done done) {
    state = update_state::Checking{};
    fetchAppcast([self = shared_from_this(), userInitiated,
                  done = std::move(done)](const std::optional<Release>& release) {
        self->settle(release, userInitiated);
        if (done) {
            done();
        }
    });
}

void Updater::settle(const std::optional<Release>& release, bool userInitiated) {
    if (!release && userInitiated) {
        fail("Could not reach the update server");
    } else if (!release) {
        state = update_state::Idle{};
    } else if (currentBuild() >= release->build) {
        state = update_state::UpToDate{};
        // Each check has its own end of that state; an older one may end it early.
        runLoop_.after(kUpToDateShown, [self = shared_from_this()] { self->endUpToDate(); });
    } else {
        pending = release;
        state = update_state::Available{release->version};
    }
    const platform::Date now = clock_.now();
    lastChecked = now;
    defaults_.set(checkedKey, now);
}

void Updater::endUpToDate() {
    if (std::holds_alternative<update_state::UpToDate>(*state)) {
        state = update_state::Idle{};
    }
}

void Updater::checkInBackground() {
    if (bundle_.managedElsewhere()) {
        return;
    }
    // A date in the future is less than a day ago too.
    if (*lastChecked && clock_.now() - **lastChecked < kCheckInterval) {
        return;
    }
    check(false);
}

void Updater::notesForCurrentVersion(NotesDone done) {
    if (bundle_.managedElsewhere()) {
        done(bundle_.infoString(platform::kReleaseNotesKey));
        return;
    }
    fetchAppcast(
        [self = shared_from_this(), done = std::move(done)](const std::optional<Release>& release) {
            const bool isThis = release && release->build == self->currentBuild();
            done(isThis ? std::optional(release->notes) : std::nullopt);
        });
}

void Updater::fail(std::string message) {
    state = update_state::Failed{std::move(message)};
}

void Updater::relaunch() {
    workspace_.relaunch(bundle_.path());
    runLoop_.terminate();
}

} // namespace korvel
