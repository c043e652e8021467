#include "platform/linux/session/wayland_connection.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <poll.h>
#include <wayland-client.h>

namespace korvel::platform {

namespace {

void ignoreLog(const char* /*format*/, va_list /*arguments*/) {}

bool isSet(const char* name) {
    const char* value = std::getenv(name);
    return value && *value;
}

bool compositorIsNamed() {
    // The one connection that a parent has handed down is Qt's.
    if (isSet("WAYLAND_SOCKET")) {
        return false;
    }
    const char* session = std::getenv("XDG_SESSION_TYPE");
    return isSet("WAYLAND_DISPLAY") || (session && std::strcmp(session, "wayland") == 0);
}

constexpr wl_callback_listener kDoneListener = {
    .done = [](void* data, wl_callback*, std::uint32_t) { *static_cast<bool*>(data) = true; },
};

} // namespace

std::unique_ptr<WaylandConnection> WaylandConnection::open() {
    if (!compositorIsNamed()) {
        return nullptr;
    }
    wl_log_set_handler_client(ignoreLog);
    wl_display* display = wl_display_connect(nullptr);
    return display ? std::make_unique<WaylandConnection>(display) : nullptr;
}

WaylandConnection::~WaylandConnection() {
    wl_display_disconnect(display_);
}

int WaylandConnection::descriptor() const {
    return wl_display_get_fd(display_);
}

bool WaylandConnection::answered(Time deadline) {
    bool done = false;
    wl_callback* callback = wl_display_sync(display_);
    wl_callback_add_listener(callback, &kDoneListener, &done);
    const bool heard = readUntil(done, deadline);
    wl_callback_destroy(callback);
    return heard;
}

bool WaylandConnection::readUntil(const bool& done, Time deadline) {
    while (true) {
        if (wl_display_dispatch_pending(display_) < 0) {
            return false;
        }
        if (done) {
            return true;
        }
        if (wl_display_prepare_read(display_) != 0) {
            continue;
        }
        wl_display_flush(display_);
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd waited{.fd = descriptor(), .events = POLLIN, .revents = 0};
        const int ready = poll(&waited, 1, static_cast<int>(std::max<long>(left.count(), 0)));
        if (ready <= 0) {
            const bool interrupted = ready < 0 && errno == EINTR;
            wl_display_cancel_read(display_);
            if (interrupted) {
                continue;
            }
            return false;
        }
        if (wl_display_read_events(display_) < 0) {
            return false;
        }
    }
}

bool WaylandConnection::readNow() {
    const bool never = false;
    readUntil(never, Time{});
    return wl_display_get_error(display_) == 0;
}

} // namespace korvel::platform
