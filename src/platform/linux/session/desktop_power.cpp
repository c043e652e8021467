#include "platform/linux/session/desktop_power.h"

#include <utility>

#include <QStringList>

#include "platform/linux/session/logind_power.h"
#include "platform/linux/session/session_power.h"
#include "platform/linux/session/wayland_power.h"
#include "platform/linux/session/x11_power.h"

namespace korvel::platform {

namespace {

QStringList servicesOf(const PowerGrantorList& grantors) {
    QStringList services;
    for (const auto& grantor : grantors) {
        if (!grantor->service().isEmpty()) {
            services << grantor->service();
        }
    }
    return services;
}

} // namespace

PowerGrantors desktopPowerGrantors() {
    PowerGrantors grantors;
    grantors.display = sessionPowerGrantors();
    grantors.display.push_back(waylandPowerGrantor());
    grantors.display.push_back(x11PowerGrantor());
    grantors.display.push_back(portalPowerGrantor());
    grantors.system.push_back(logindPowerGrantor());
    return grantors;
}

DesktopPower::Kind::Kind(PowerGrantorList list, QDBusConnection::BusType type,
                         const QString& connection, std::chrono::milliseconds together,
                         std::chrono::milliseconds one)
    : grantors(std::move(list)), bus(type, connection, servicesOf(grantors)), patience(together),
      oneAnswer(one) {}

DesktopPower::DesktopPower(PowerGrantors grantors)
    : display_(std::move(grantors.display), QDBusConnection::SessionBus,
               QStringLiteral("korvel power session watch"), grantors.displayPatience,
               grantors.oneAnswer),
      system_(std::move(grantors.system), QDBusConnection::SystemBus,
              QStringLiteral("korvel power system watch"), grantors.systemPatience,
              grantors.oneAnswer) {
    watch(display_);
    watch(system_);
}

DesktopPower::~DesktopPower() = default;

void DesktopPower::watch(Kind& kind) {
    BusWatch& bus = kind.bus;
    QObject::connect(&bus, &BusWatch::appeared, &context_,
                     [this, &kind](const QString& service, const QString& owner) {
                         appeared(kind, service, owner);
                     });
    QObject::connect(
        &bus, &BusWatch::gone, &context_, [this, &kind](const QString&, const QString& owner) {
            replace(kind, [&owner](const PowerHold& hold) { return hold.owner() == owner; });
        });
    QObject::connect(&bus, &BusWatch::lost, &context_, [this, &kind] {
        replace(kind, [](const PowerHold& hold) { return !hold.owner().isEmpty(); });
    });
    QObject::connect(&bus, &BusWatch::returned, &context_, [this, &kind] { returned(kind); });
}

std::optional<PowerAssertionId> DesktopPower::create(PowerAssertionType type,
                                                     const std::string& name) {
    Kind& kind = type == PowerAssertionType::noDisplaySleep ? display_ : system_;
    Held held{&kind, QString::fromStdString(name), 0, nullptr};
    if (!take(held, kind.grantors.size())) {
        return std::nullopt;
    }
    held_.emplace(++made_, std::move(held));
    wantBuses();
    return made_;
}

bool DesktopPower::holds(PowerAssertionId id) const {
    const auto found = held_.find(id);
    return found != held_.end() && found->second.hold != nullptr;
}

void DesktopPower::release(PowerAssertionId id) {
    held_.erase(id);
    wantBuses();
}

void DesktopPower::wantBuses() {
    for (Kind* kind : {&display_, &system_}) {
        kind->bus.setWanted(!held_.empty());
    }
}

/// Asks the first `count` grantors. Until one grants it the old hold stays, so that there is no
/// gap.
bool DesktopPower::take(Held& held, std::size_t count) {
    const auto ended = [this] {
        // On a later turn: the hold that calls this is then destroyed.
        QMetaObject::invokeMethod(
            &context_, [this] { replaceEnded(); }, Qt::QueuedConnection);
    };
    const Patience patience(held.kind->patience, held.kind->oneAnswer);
    for (std::size_t place = 0; place < count; ++place) {
        if (auto hold = held.kind->grantors[place]->take(held.reason, patience, ended)) {
            held.hold = std::move(hold);
            held.grantor = place;
            return true;
        }
    }
    return false;
}

void DesktopPower::appeared(const Kind& kind, const QString& service, const QString& owner) {
    takeAgain(kind, [&](const PowerGrantor& grantor, const PowerHold& hold) {
        return grantor.service() == service && hold.owner() != owner;
    });
}

/// Whoever is on a bus that is back may be another than before.
void DesktopPower::returned(const Kind& kind) {
    takeAgain(kind, [](const PowerGrantor& grantor, const PowerHold&) {
        return !grantor.service().isEmpty();
    });
}

void DesktopPower::takeAgain(
    const Kind& kind,
    const std::function<bool(const PowerGrantor& grantor, const PowerHold& hold)>& isAnother) {
    for (auto& [id, held] : held_) {
        if (held.kind != &kind) {
            continue;
        }
        const PowerGrantor& grantor = *kind.grantors[held.grantor];
        if (held.hold && grantor.givesWay()) {
            take(held, held.grantor);
        } else if (!held.hold || isAnother(grantor, *held.hold)) {
            take(held, kind.grantors.size());
        }
    }
}

void DesktopPower::replace(const Kind& kind, const std::function<bool(const PowerHold&)>& isOver) {
    for (auto& [id, held] : held_) {
        if (held.kind == &kind && held.hold && isOver(*held.hold)) {
            held.hold.reset();
            take(held, kind.grantors.size());
        }
    }
}

void DesktopPower::replaceEnded() {
    for (const Kind* kind : {&display_, &system_}) {
        replace(*kind, [](const PowerHold& hold) { return hold.ended(); });
    }
}

} // namespace korvel::platform
