#include "platform/linux/session/wayland_offer.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <poll.h>
#include <wayland-client.h>
#include <xdg-output-unstable-v1.h>

namespace korvel::platform {

namespace {

using Clock = std::chrono::steady_clock;

struct Disconnect {
    void operator()(wl_display* display) const { wl_display_disconnect(display); }
};

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

/// What has been heard so far. The objects of the connection go with it.
struct Hearing {
    struct Output {
        wl_output* object = nullptr;
        WaylandOutput seen;
    };

    WaylandOffer offer;
    std::vector<std::unique_ptr<Output>> outputs;
    zxdg_output_manager_v1* manager = nullptr;

    void bind(wl_registry* registry, std::uint32_t name, const std::string& interface,
              std::uint32_t version);
};

void outputMode(void* data, wl_output* /*output*/, std::uint32_t flags, std::int32_t width,
                std::int32_t height, std::int32_t /*refresh*/) {
    if (flags & WL_OUTPUT_MODE_CURRENT) {
        auto& seen = static_cast<Hearing::Output*>(data)->seen;
        seen.width = width;
        seen.height = height;
    }
}

void outputScale(void* data, wl_output* /*output*/, std::int32_t factor) {
    static_cast<Hearing::Output*>(data)->seen.scale = factor;
}

void outputLogicalSize(void* data, zxdg_output_v1* /*output*/, std::int32_t width,
                       std::int32_t height) {
    auto& seen = static_cast<Hearing::Output*>(data)->seen;
    seen.logicalWidth = width;
    seen.logicalHeight = height;
}

constexpr wl_output_listener kOutputListener = {
    .geometry = [](void*, wl_output*, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                   std::int32_t, const char*, const char*, std::int32_t) {},
    .mode = outputMode,
    .done = [](void*, wl_output*) {},
    .scale = outputScale,
    .name = [](void*, wl_output*, const char*) {},
    .description = [](void*, wl_output*, const char*) {},
};

constexpr zxdg_output_v1_listener kLogicalListener = {
    .logical_position = [](void*, zxdg_output_v1*, std::int32_t, std::int32_t) {},
    .logical_size = outputLogicalSize,
    .done = [](void*, zxdg_output_v1*) {},
    .name = [](void*, zxdg_output_v1*, const char*) {},
    .description = [](void*, zxdg_output_v1*, const char*) {},
};

void Hearing::bind(wl_registry* registry, std::uint32_t name, const std::string& interface,
                   std::uint32_t version) {
    constexpr std::uint32_t kScaleSince = 2;
    offer.interfaces.insert(interface);
    if (interface == wl_output_interface.name && version >= kScaleSince) {
        auto& output = *outputs.emplace_back(std::make_unique<Output>());
        output.object = static_cast<wl_output*>(
            wl_registry_bind(registry, name, &wl_output_interface, kScaleSince));
        wl_output_add_listener(output.object, &kOutputListener, &output);
    } else if (interface == zxdg_output_manager_v1_interface.name && !manager) {
        manager = static_cast<zxdg_output_manager_v1*>(
            wl_registry_bind(registry, name, &zxdg_output_manager_v1_interface, 1));
    }
}

constexpr wl_registry_listener kRegistryListener = {
    .global =
        [](void* data, wl_registry* registry, std::uint32_t name, const char* interface,
           std::uint32_t version) {
            static_cast<Hearing*>(data)->bind(registry, name, interface, version);
        },
    .global_remove = [](void*, wl_registry*, std::uint32_t) {},
};

constexpr wl_callback_listener kDoneListener = {
    .done = [](void* data, wl_callback*, std::uint32_t) { *static_cast<bool*>(data) = true; },
};

/// Waits until everything that was asked has been answered; false: not by then.
bool heardAll(wl_display* display, Clock::time_point deadline) {
    bool done = false;
    wl_callback_add_listener(wl_display_sync(display), &kDoneListener, &done);
    while (!done) {
        if (wl_display_dispatch_pending(display) < 0) {
            return false;
        }
        if (done || wl_display_prepare_read(display) != 0) {
            continue;
        }
        wl_display_flush(display);
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd waited{.fd = wl_display_get_fd(display), .events = POLLIN, .revents = 0};
        const int ready = left > 0 ? poll(&waited, 1, static_cast<int>(left)) : 0;
        if (ready <= 0) {
            const bool interrupted = ready < 0 && errno == EINTR;
            wl_display_cancel_read(display);
            if (interrupted) {
                continue;
            }
            return false;
        }
        if (wl_display_read_events(display) < 0) {
            return false;
        }
    }
    return true;
}

} // namespace

std::optional<WaylandOffer> askWayland(std::chrono::milliseconds patience) {
    if (!compositorIsNamed()) {
        return std::nullopt;
    }
    wl_log_set_handler_client(ignoreLog);
    const Clock::time_point deadline = Clock::now() + patience;
    Hearing hearing;
    const std::unique_ptr<wl_display, Disconnect> display(wl_display_connect(nullptr));
    if (!display) {
        return std::nullopt;
    }
    wl_registry_add_listener(wl_display_get_registry(display.get()), &kRegistryListener, &hearing);
    if (!heardAll(display.get(), deadline)) {
        return std::nullopt;
    }
    for (const auto& output : hearing.outputs) {
        if (hearing.manager) {
            zxdg_output_v1_add_listener(
                zxdg_output_manager_v1_get_xdg_output(hearing.manager, output->object),
                &kLogicalListener, output.get());
        }
    }
    if (!heardAll(display.get(), deadline)) {
        return std::nullopt;
    }
    for (const auto& output : hearing.outputs) {
        hearing.offer.outputs.push_back(output->seen);
    }
    return hearing.offer;
}

} // namespace korvel::platform
