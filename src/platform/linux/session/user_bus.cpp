#include "platform/linux/session/user_bus.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "base/hexadecimal.h"

namespace korvel::platform {

namespace {

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// A path as an address has it, in which other bytes than these have a meaning.
std::string escaped(std::string_view path) {
    std::string text;
    for (const char byte : path) {
        const bool plain = (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
                           (byte >= 'A' && byte <= 'Z') ||
                           std::string_view("-_/.").find(byte) != std::string_view::npos;
        if (plain) {
            text += byte;
        } else {
            const std::uint8_t code[] = {static_cast<std::uint8_t>(byte)};
            text += '%' + hexadecimal(code);
        }
    }
    return text;
}

} // namespace

std::string userBusAddress() {
    std::string address = variable("DBUS_SESSION_BUS_ADDRESS");
    const std::string runtime = variable("XDG_RUNTIME_DIR");
    const std::string socket = runtime + "/bus";
    std::error_code failure;
    if (!address.empty() || runtime.empty() || !std::filesystem::exists(socket, failure)) {
        return address;
    }
    return "unix:path=" + escaped(socket);
}

} // namespace korvel::platform
