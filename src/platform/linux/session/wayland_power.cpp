#include "platform/linux/session/wayland_power.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include <ext-idle-notify-v1.h>
#include <idle-inhibit-unstable-v1.h>
#include <wayland-client.h>

#include <QSocketNotifier>

#include "platform/linux/session/wayland_connection.h"

namespace korvel::platform {

namespace {

template <auto destroy>
struct Destroy {
    template <typename Proxy>
    void operator()(Proxy* proxy) const {
        destroy(proxy);
    }
};
template <typename Proxy, auto destroy>
using Owned = std::unique_ptr<Proxy, Destroy<destroy>>;

/// What of the compositor is needed; null: it has none.
struct Globals {
    Owned<wl_registry, wl_registry_destroy> registry;
    Owned<wl_compositor, wl_compositor_destroy> compositor;
    Owned<wl_seat, wl_seat_destroy> seat;
    Owned<zwp_idle_inhibit_manager_v1, zwp_idle_inhibit_manager_v1_destroy> inhibitors;
    Owned<ext_idle_notifier_v1, ext_idle_notifier_v1_destroy> notifier;

    template <typename Pointer>
    void take(Pointer& pointer, const wl_interface& wanted, std::uint32_t name,
              const char* interface) {
        if (!pointer && std::strcmp(interface, wanted.name) == 0) {
            pointer.reset(static_cast<typename Pointer::pointer>(
                wl_registry_bind(registry.get(), name, &wanted, 1)));
        }
    }
};

constexpr wl_registry_listener kPowerRegistryListener = {
    .global =
        [](void* data, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t) {
            auto& found = *static_cast<Globals*>(data);
            found.take(found.compositor, wl_compositor_interface, name, interface);
            found.take(found.seat, wl_seat_interface, name, interface);
            found.take(found.inhibitors, zwp_idle_inhibit_manager_v1_interface, name, interface);
            found.take(found.notifier, ext_idle_notifier_v1_interface, name, interface);
        },
    .global_remove = [](void*, wl_registry*, std::uint32_t) {},
};

constexpr ext_idle_notification_v1_listener kIdleListener = {
    .idled = [](void* data, ext_idle_notification_v1*) { *static_cast<bool*>(data) = true; },
    .resumed = [](void*, ext_idle_notification_v1*) {},
};

/// Whether idleness still comes, as far as the compositor tells.
bool becomesIdle(WaylandConnection& connection, const Globals& found, const Patience& patience) {
    // So short that it comes between two movements of a pointer.
    constexpr std::uint32_t kIdleAfter = 1; // milliseconds
    constexpr std::chrono::milliseconds kWatched(100);
    if (!found.notifier || !found.seat) {
        return false;
    }
    bool idle = false;
    const Owned<ext_idle_notification_v1, ext_idle_notification_v1_destroy> notification(
        ext_idle_notifier_v1_get_idle_notification(found.notifier.get(), kIdleAfter,
                                                   found.seat.get()));
    ext_idle_notification_v1_add_listener(notification.get(), &kIdleListener, &idle);
    return connection.readUntil(idle, std::chrono::steady_clock::now() +
                                          std::min(kWatched, patience.next()));
}

class WaylandHold final : public PowerHold {
  public:
    WaylandHold(std::unique_ptr<WaylandConnection> connection, const Globals& found,
                std::function<void()> ended)
        : connection_(std::move(connection)),
          surface_(wl_compositor_create_surface(found.compositor.get())),
          inhibitor_(
              zwp_idle_inhibit_manager_v1_create_inhibitor(found.inhibitors.get(), surface_.get())),
          ended_(std::move(ended)), notifier_(connection_->descriptor(), QSocketNotifier::Read) {
        QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_, [this] { read(); });
    }

    bool ended() const override { return over_; }

  private:
    void read() {
        if (!connection_->readNow()) {
            over_ = true;
            notifier_.setEnabled(false);
            ended_();
        }
    }

    std::unique_ptr<WaylandConnection> connection_;
    Owned<wl_surface, wl_surface_destroy> surface_;
    Owned<zwp_idle_inhibitor_v1, zwp_idle_inhibitor_v1_destroy> inhibitor_;
    std::function<void()> ended_;
    bool over_ = false;
    QSocketNotifier notifier_;
};

class WaylandGrantor final : public PowerGrantor {
  public:
    std::unique_ptr<PowerHold> take(const QString&, const Patience& patience,
                                    const std::function<void()>& ended) override {
        auto opened = WaylandConnection::open();
        if (!opened) {
            return nullptr;
        }
        WaylandConnection& connection = *opened;
        const auto soon = [&] { return std::chrono::steady_clock::now() + patience.next(); };
        std::unique_ptr<WaylandHold> hold;
        Globals found; // goes before the connection
        found.registry.reset(wl_display_get_registry(connection.display()));
        wl_registry_add_listener(found.registry.get(), &kPowerRegistryListener, &found);
        if (!connection.answered(soon()) || !found.compositor || !found.inhibitors) {
            return nullptr;
        }
        hold = std::make_unique<WaylandHold>(std::move(opened), found, ended);
        if (!connection.answered(soon()) || becomesIdle(connection, found, patience)) {
            return nullptr;
        }
        return hold;
    }
};

} // namespace

std::unique_ptr<PowerGrantor> waylandPowerGrantor() {
    return std::make_unique<WaylandGrantor>();
}

} // namespace korvel::platform
