#include "platform/linux/session/systemd_query.h"

// Where libsystemd is not: no manager can be asked.
namespace korvel::platform {

class SystemdQuery::Bus {};

SystemdQuery::SystemdQuery(const std::string&) {}

SystemdQuery::~SystemdQuery() = default;

bool SystemdQuery::isLoaded(const std::string&) {
    return false;
}

} // namespace korvel::platform
