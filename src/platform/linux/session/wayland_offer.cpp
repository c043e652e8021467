#include "platform/linux/session/wayland_offer.h"

#include <cstdint>
#include <memory>

#include <wayland-client.h>
#include <xdg-output-unstable-v1.h>

#include "platform/linux/session/wayland_connection.h"

namespace korvel::platform {

namespace {

/// What has been heard so far, and the objects that it is heard through.
struct Hearing {
    struct Output {
        wl_output* object = nullptr;
        zxdg_output_v1* logical = nullptr;
        WaylandOutput seen;
    };

    Hearing() = default;
    Hearing(const Hearing&) = delete;
    Hearing& operator=(const Hearing&) = delete;
    ~Hearing();

    WaylandOffer offer;
    wl_registry* registry = nullptr;
    std::vector<std::unique_ptr<Output>> outputs;
    zxdg_output_manager_v1* manager = nullptr;

    void bind(std::uint32_t name, const std::string& interface, std::uint32_t version);
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

void outputLogicalPosition(void* data, zxdg_output_v1* /*output*/, std::int32_t x, std::int32_t y) {
    auto& seen = static_cast<Hearing::Output*>(data)->seen;
    seen.logicalX = x;
    seen.logicalY = y;
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
    .logical_position = outputLogicalPosition,
    .logical_size = outputLogicalSize,
    .done = [](void*, zxdg_output_v1*) {},
    .name = [](void*, zxdg_output_v1*, const char*) {},
    .description = [](void*, zxdg_output_v1*, const char*) {},
};

Hearing::~Hearing() {
    for (const auto& output : outputs) {
        if (output->logical) {
            zxdg_output_v1_destroy(output->logical);
        }
        wl_output_destroy(output->object);
    }
    if (manager) {
        zxdg_output_manager_v1_destroy(manager);
    }
    if (registry) {
        wl_registry_destroy(registry);
    }
}

void Hearing::bind(std::uint32_t name, const std::string& interface, std::uint32_t version) {
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
        [](void* data, wl_registry*, std::uint32_t name, const char* interface,
           std::uint32_t version) { static_cast<Hearing*>(data)->bind(name, interface, version); },
    .global_remove = [](void*, wl_registry*, std::uint32_t) {},
};

} // namespace

std::optional<WaylandOffer> askWayland(std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    const auto connection = WaylandConnection::open();
    if (!connection) {
        return std::nullopt;
    }
    Hearing hearing; // goes first: its objects are the connection's
    hearing.registry = wl_display_get_registry(connection->display());
    wl_registry_add_listener(hearing.registry, &kRegistryListener, &hearing);
    if (!connection->answered(deadline)) {
        return std::nullopt;
    }
    for (const auto& output : hearing.outputs) {
        if (hearing.manager) {
            output->logical =
                zxdg_output_manager_v1_get_xdg_output(hearing.manager, output->object);
            zxdg_output_v1_add_listener(output->logical, &kLogicalListener, output.get());
        }
    }
    if (!connection->answered(deadline)) {
        return std::nullopt;
    }
    for (const auto& output : hearing.outputs) {
        hearing.offer.outputs.push_back(output->seen);
    }
    return hearing.offer;
}

} // namespace korvel::platform
