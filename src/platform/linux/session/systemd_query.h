#pragma once

#include <memory>
#include <string>

#include "platform/agents.h"
#include "platform/linux/session/user_bus.h"

namespace korvel::platform {

/// Agents as units of the user's systemd, for a program without an event loop; what counts as
/// loaded is as in `SystemdAgents`. The manager is asked each time, for at most a quarter of a
/// second, which holds for the connection to the bus too. That is kept from one question to the
/// next, because the bus tells others of each that comes or goes; one that fell silent or broke is
/// made anew. Nothing is ever started by asking. For one thread.
class SystemdQuery final : public Agents {
  public:
    /// `address` is written as in DBUS_SESSION_BUS_ADDRESS; empty: there is no bus.
    explicit SystemdQuery(const std::string& address = userBusAddress());
    ~SystemdQuery() override;
    SystemdQuery(const SystemdQuery&) = delete;
    SystemdQuery& operator=(const SystemdQuery&) = delete;

    /// False too where the program was built without the library that asks.
    bool isLoaded(const std::string& label) override;

  private:
    class Bus;
    std::unique_ptr<Bus> bus_;
};

} // namespace korvel::platform
