#include "model/awake.h"

#include <algorithm>

#include <fmt/format.h>

#include "base/fatal.h"
#include "platform/defaults.h"
#include "platform/services.h"

namespace korvel {

namespace {

constexpr const char* kOnKey = "awakeOn";
constexpr const char* kUntilKey = "awakeUntil";
constexpr const char* kAssertionName = "Korvel keep awake";
constexpr double kSecondsPerMinute = 60;
/// Seconds; also for an end that is past, so that the period ends on a later turn, not at once.
constexpr double kShortestInterval = 1.0;
/// Seconds; what is left of a period must be more than this to be taken up at launch.
constexpr double kLeastWorthRestoring = 30;

} // namespace

const std::shared_ptr<Awake>& Awake::shared() {
    static const std::shared_ptr<Awake> awake = [] {
        if (platform::installedServices == nullptr) {
            fatal();
        }
        return std::make_shared<Awake>(*platform::installedServices);
    }();
    return awake;
}

Awake::Awake(const platform::Services& services)
    : clock_(services.clock), runLoop_(services.runLoop), power_(services.power),
      defaults_(services.defaults) {}

void Awake::enable(std::optional<std::int64_t> minutes) {
    if (!minutes) {
        enableUntil(std::nullopt);
        return;
    }
    enableUntil(clock_.now() + static_cast<double>(*minutes) * kSecondsPerMinute);
}

void Awake::enableUntil(std::optional<platform::Date> end) {
    using platform::PowerAssertionType;
    releaseAssertions();
    const auto display = power_.create(PowerAssertionType::noDisplaySleep, kAssertionName);
    const auto system = power_.create(PowerAssertionType::noIdleSleep, kAssertionName);
    if (!display && !system) {
        return;
    }
    displayID_ = display.value_or(0);
    systemID_ = system.value_or(0);
    on = true;
    until = end;
    if (end) {
        const double interval = std::max(*end - clock_.now(), kShortestInterval);
        timer_ = runLoop_.once(interval, [weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                self->disable();
            }
        });
    }
    persist();
    if (onChange) {
        onChange();
    }
}

void Awake::releaseAssertions() {
    timer_.reset();
    for (platform::PowerAssertionId* id : {&displayID_, &systemID_}) {
        if (*id != 0) {
            power_.release(*id);
            *id = 0;
        }
    }
    on = false;
}

void Awake::disable() {
    releaseAssertions();
    until = std::nullopt;
    forget();
    if (onChange) {
        onChange();
    }
}

void Awake::releaseOnQuit() {
    releaseAssertions();
}

void Awake::persist() {
    defaults_.set(kOnKey, *on);
    if (*until) {
        defaults_.set(kUntilKey, **until);
    } else {
        defaults_.set(kUntilKey, std::int64_t{0});
    }
}

void Awake::forget() {
    defaults_.set(kOnKey, false);
    defaults_.remove(kUntilKey);
}

void Awake::restore() {
    if (!defaults_.boolean(kOnKey)) {
        return;
    }
    const platform::Date end = defaults_.real(kUntilKey);
    if (end == 0) {
        enableUntil(std::nullopt);
    } else if (end - clock_.now() > kLeastWorthRestoring) {
        enableUntil(end);
    } else {
        forget();
    }
}

bool Awake::displayHeld() const {
    return displayID_ != 0 && power_.holds(displayID_);
}

bool Awake::systemHeld() const {
    return systemID_ != 0 && power_.holds(systemID_);
}

std::string Awake::remainingLabel() const {
    if (*until) {
        // A stored date may be any number; this one still fits an integer.
        constexpr double kMostMinutes = 1e15;
        const double minutes = std::min((**until - clock_.now()) / kSecondsPerMinute, kMostMinutes);
        const std::int64_t shown = std::max<std::int64_t>(checkedInt(minutes) + 1, 0);
        return "on for " + humanDuration(shown) + " more";
    }
    return *on ? "on, indefinitely" : "off";
}

std::string Awake::humanDuration(std::int64_t minutes) {
    constexpr std::int64_t kMinutesPerHour = 60;
    if (minutes < kMinutesPerHour) {
        return fmt::format("{}m", minutes);
    }
    if (minutes % kMinutesPerHour == 0) {
        return fmt::format("{}h", minutes / kMinutesPerHour);
    }
    return fmt::format("{}h {}m", minutes / kMinutesPerHour, minutes % kMinutesPerHour);
}

} // namespace korvel
