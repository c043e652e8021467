#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include <QObject>
#include <QString>

#include "platform/linux/session/bus_watch.h"
#include "platform/linux/session/power_grantor.h"
#include "platform/power.h"

namespace korvel::platform {

/// Who is asked on this desktop, the best first. Of the lists the first holds for
/// `PowerAssertionType::noDisplaySleep`, the second for `noIdleSleep`.
struct PowerGrantors {
    PowerGrantorList display;
    PowerGrantorList system;
    /// How long the answers of a list are waited for together. Someone waits at a click, so both
    /// are a second in all.
    std::chrono::milliseconds displayPatience{600};
    std::chrono::milliseconds systemPatience{400};
    std::chrono::milliseconds oneAnswer = Patience::kOneAnswer; ///< of the longest of them
};

/// The services of the session, then what the display server has itself, then the portal; logind.
PowerGrantors desktopPowerGrantors();

/// Keeps the display and the machine awake through the first of its grantors that grants it, and
/// that does not say otherwise when it is asked whether it does. Neither touches the lid or the
/// user's own suspend. Both together wait for answers for a second at most. All that is held ends
/// with the process: the services watch its connection, logind its descriptor.
///
/// When a grantor goes, the others are asked at once; one that comes back is asked anew. What a
/// service granted stays with it, though a better one should come; what only the display server
/// granted goes over to a service that appears.
class DesktopPower final : public PowerAssertions {
  public:
    explicit DesktopPower(PowerGrantors grantors = desktopPowerGrantors());
    DesktopPower(const DesktopPower&) = delete;
    DesktopPower& operator=(const DesktopPower&) = delete;
    ~DesktopPower() override;

    std::optional<PowerAssertionId> create(PowerAssertionType type,
                                           const std::string& name) override;
    bool holds(PowerAssertionId id) const override;
    void release(PowerAssertionId id) override;

  private:
    /// One of the two lists, and the bus that its services are on.
    struct Kind {
        Kind(PowerGrantorList list, QDBusConnection::BusType type, const QString& connection,
             std::chrono::milliseconds together, std::chrono::milliseconds one);
        PowerGrantorList grantors;
        BusWatch bus;
        std::chrono::milliseconds patience;  ///< for all of them together
        std::chrono::milliseconds oneAnswer; ///< for one of them
    };

    /// An assertion that was granted. There is no hold while nobody grants it any more.
    struct Held {
        Kind* kind;
        QString reason;
        std::size_t grantor = 0; ///< the place in the list of the one that granted the hold
        std::unique_ptr<PowerHold> hold;
    };

    void watch(Kind& kind);
    bool take(Held& held, std::size_t count);
    void appeared(const Kind& kind, const QString& service, const QString& owner);
    void returned(const Kind& kind);
    void takeAgain(
        const Kind& kind,
        const std::function<bool(const PowerGrantor& grantor, const PowerHold& hold)>& isAnother);
    void replace(const Kind& kind, const std::function<bool(const PowerHold&)>& isOver);
    void replaceEnded();
    void wantBuses();

    QObject context_; ///< of what is called back
    Kind display_;
    Kind system_;
    std::map<PowerAssertionId, Held> held_;
    PowerAssertionId made_ = 0;
};

} // namespace korvel::platform
