#include "platform/linux/session/x11_power.h"

#include <cstdlib>
#include <string_view>

#include <xcb/screensaver.h>
#include <xcb/xcb.h>

#include <QtGlobal>

#include "platform/linux/session/x11.h"

namespace korvel::platform {

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

bool hasExtension(xcb_connection_t* connection, std::string_view name) {
    const std::unique_ptr<xcb_query_extension_reply_t, Free> reply(xcb_query_extension_reply(
        connection,
        xcb_query_extension(connection, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    return reply && reply->present != 0;
}

/// Older servers of Wayland sessions do not tell what they are.
bool isXWayland(xcb_connection_t* connection) {
    return qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
           qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland") ||
           hasExtension(connection, "XWAYLAND");
}

/// Whether the server knows the request that suspends.
bool canSuspend(xcb_connection_t* connection) {
    constexpr std::uint8_t kMajor = 1;
    constexpr std::uint8_t kMinor = 1;
    const xcb_query_extension_reply_t* extension =
        xcb_get_extension_data(connection, &xcb_screensaver_id);
    if (!extension || extension->present == 0) {
        return false;
    }
    const std::unique_ptr<xcb_screensaver_query_version_reply_t, Free> version(
        xcb_screensaver_query_version_reply(
            connection, xcb_screensaver_query_version(connection, kMajor, kMinor), nullptr));
    return version &&
           (version->server_major_version > kMajor ||
            (version->server_major_version == kMajor && version->server_minor_version >= kMinor));
}

bool suspend(xcb_connection_t* connection, bool suspended) {
    const std::unique_ptr<xcb_generic_error_t, Free> error(xcb_request_check(
        connection, xcb_screensaver_suspend_checked(connection, suspended ? 1 : 0)));
    return !error && xcb_connection_has_error(connection) == 0;
}

/// The server counts a connection's requests, so holds may overlap.
class X11Hold final : public PowerHold {
  public:
    X11Hold() = default;
    X11Hold(const X11Hold&) = delete;
    X11Hold& operator=(const X11Hold&) = delete;
    ~X11Hold() override {
        if (xcb_connection_t* connection = x11Connection()) {
            suspend(connection, false);
        }
    }
};

class X11Grantor final : public PowerGrantor {
  public:
    bool givesWay() const override { return true; }

    std::unique_ptr<PowerHold> take(const QString&, const Patience&,
                                    const std::function<void()>&) override {
        xcb_connection_t* connection = x11Connection();
        if (!connection || isXWayland(connection) || !canSuspend(connection) ||
            !suspend(connection, true)) {
            return nullptr;
        }
        return std::make_unique<X11Hold>();
    }
};

} // namespace

std::unique_ptr<PowerGrantor> x11PowerGrantor() {
    return std::make_unique<X11Grantor>();
}

} // namespace korvel::platform
