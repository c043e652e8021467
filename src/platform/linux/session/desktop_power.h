#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/linux/session/bus_watch.h"
#include "platform/posix/file_descriptor.h"
#include "platform/power.h"

namespace korvel::platform {

/// Keeps the display awake through the desktop's session (org.gnome.SessionManager, "idle" alone)
/// or screen saver (org.freedesktop.ScreenSaver), and the machine through an "idle" inhibitor of
/// logind. Neither touches the lid or the user's own suspend. A service that does not answer
/// within half a second has refused. What is held ends with the process: the services watch its
/// connection, and logind its descriptor. A service that comes back, or whose bus does, is asked
/// anew for what is held.
class DesktopPower final : public PowerAssertions {
  public:
    DesktopPower();
    DesktopPower(const DesktopPower&) = delete;
    DesktopPower& operator=(const DesktopPower&) = delete;
    ~DesktopPower() override;

    std::optional<PowerAssertionId> create(PowerAssertionType type,
                                           const std::string& name) override;
    void release(PowerAssertionId id) override;

  private:
    /// An assertion that was granted. It has no grantor and no descriptor while its bus is away.
    struct Held {
        PowerAssertionType type;
        std::string name;
        std::string grantor;       ///< the session service; empty: logind
        std::uint32_t cookie = 0;  ///< of that service
        FileDescriptor descriptor; ///< of logind
    };

    bool take(Held& held);
    bool inhibitDisplay(Held& held);
    bool inhibitIdle(Held& held);
    void giveBack(Held& held);
    void takeAgain(const QString& service);
    void sessionBusWentAway();
    void wantBuses();

    std::map<PowerAssertionId, Held> held_;
    PowerAssertionId made_ = 0;
    BusWatch sessionServices_;
    BusWatch logind_;
};

} // namespace korvel::platform
