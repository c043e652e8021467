#include "platform/linux/session/launch_token.h"

#include <QByteArray>

namespace korvel::platform {

namespace {

std::string taken(const char* name) {
    std::string value = qgetenv(name).toStdString();
    qunsetenv(name);
    return value;
}

} // namespace

bool takeAutostartMark() {
    return !taken("KORVEL_AUTOSTART").empty();
}

LaunchToken takeLaunchToken() {
    return {.activation = taken("XDG_ACTIVATION_TOKEN"), .startup = taken("DESKTOP_STARTUP_ID")};
}

} // namespace korvel::platform
