#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/observable.h"
#include "platform/clock.h"
#include "platform/power.h"
#include "platform/run_loop.h"

namespace korvel::platform {
struct Services;
class UserDefaults;
} // namespace korvel::platform

namespace korvel {

/// Keeps the machine and its display from sleeping when idle, for a while or until turned off, and
/// remembers that across restarts of the program. Main thread only.
class Awake : public ObservableObject, public std::enable_shared_from_this<Awake> {
  public:
    /// The program's own, built on the installed services at first use.
    static const std::shared_ptr<Awake>& shared();

    explicit Awake(const platform::Services& services);

    Published<bool> on{*this, false};
    /// When a timed period ends; none when off or without an end.
    Published<std::optional<platform::Date>> until{*this};

    /// Called after a switch on or off; may be empty.
    std::function<void()> onChange;

    /// Switches on for that many minutes from now, or without an end. Replaces a running period.
    /// When the system grants neither assertion it ends up off, and nothing is remembered.
    void enable(std::optional<std::int64_t> minutes);

    /// Switches off and forgets.
    void disable();

    /// Lets go without forgetting: the next launch takes it up again.
    void releaseOnQuit();

    /// Takes up what was remembered, unless its end is past or hardly worth it.
    void restore();

    /// Whether that is kept awake at this moment. Each may fail alone.
    bool displayHeld() const;
    bool systemHeld() const;

    /// "on for 1h 30m more", "on, indefinitely" or "off".
    std::string remainingLabel() const;

    /// "45m", "3h", "1h 30m".
    static std::string humanDuration(std::int64_t minutes);

  private:
    void enableUntil(std::optional<platform::Date> end);
    void releaseAssertions();
    void persist();
    void forget();

    platform::Clock& clock_;
    platform::RunLoop& runLoop_;
    platform::PowerAssertions& power_;
    platform::UserDefaults& defaults_;
    platform::PowerAssertionId displayID_ = 0;
    platform::PowerAssertionId systemID_ = 0;
    std::unique_ptr<platform::Timer> timer_;
};

} // namespace korvel
