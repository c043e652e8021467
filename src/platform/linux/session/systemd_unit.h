#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korvel::platform {

// The user's service manager on the session bus, and what is asked of it.
inline constexpr const char* kSystemdName = "org.freedesktop.systemd1";
inline constexpr const char* kSystemdPath = "/org/freedesktop/systemd1";
inline constexpr const char* kSystemdManager = "org.freedesktop.systemd1.Manager"; // an interface
inline constexpr const char* kSystemdUnit = "org.freedesktop.systemd1.Unit";       // an interface
inline constexpr const char* kSystemdStates = "ListUnitsByNames";                  // a method
inline constexpr const char* kSystemdTriggers = "TriggeredBy"; // a property of a unit

/// What systemd says of a unit, in its own words.
struct SystemdUnit {
    std::string name;
    std::string loadState;   ///< "loaded", "not-found", "masked", ...
    std::string activeState; ///< "active", "inactive", "failed", ...
    std::string subState;    ///< of its type's own: a timer's "waiting", "elapsed", ...
    std::string path;        ///< of its object on the bus
};

/// Whether a service in this state is in charge: it runs, is being started, between two attempts
/// too, or takes in its configuration. Not one that is being stopped.
bool isInCharge(std::string_view activeState);

/// Whether a timer or path unit in this state starts its service by itself when the time or the
/// file comes. One that is active is not enough: a timer that has elapsed starts nothing any more.
bool isWaiting(std::string_view activeState, std::string_view subState);

/// Whether what triggers a service is a timer or path unit, by its name. Sockets and mount points
/// wait for a client, so nothing is done of the service's own accord.
bool isWaiter(std::string_view name);

/// Whether the manager has the first of `units`, a service, in charge now, or has one of the
/// others, which trigger it, wait for it. A service that cannot be started is waited for in vain.
bool isLoaded(const std::vector<SystemdUnit>& units);

/// The name of an agent's service.
std::string serviceOf(const std::string& label);

/// Where a unit of that name has its object on the bus, if the name is not an alias.
std::string unitPath(std::string_view name);

} // namespace korvel::platform
