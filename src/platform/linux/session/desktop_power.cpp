#include "platform/linux/session/desktop_power.h"

#include <chrono>

#include <fcntl.h>

#include <QDBusReply>
#include <QDBusUnixFileDescriptor>

#include "platform/identity.h"
#include "platform/linux/session/bus_object.h"

namespace korvel::platform {

namespace {

constexpr std::chrono::milliseconds kServicePatience(500);

const QString kSession = QStringLiteral("org.gnome.SessionManager");
const QString kScreenSaver = QStringLiteral("org.freedesktop.ScreenSaver");
const QString kLogind = QStringLiteral("org.freedesktop.login1");
const QString kProgram = QString::fromLatin1(kBundleIdentifier);

/// Connections that nothing else uses. A call that was given up may still be granted later; the
/// services watch the connection, so to close it takes that back.
const QString kSessionConnection = QStringLiteral("korvel power session");
const QString kSystemConnection = QStringLiteral("korvel power system");

QDBusConnection sessionBus() {
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, kSessionConnection);
}

QDBusConnection systemBus() {
    return QDBusConnection::connectToBus(QDBusConnection::SystemBus, kSystemConnection);
}

BusObject sessionService(const QString& name) {
    const QString path = name == kSession ? QStringLiteral("/org/gnome/SessionManager")
                                          : QStringLiteral("/org/freedesktop/ScreenSaver");
    return {sessionBus(), name, path, name};
}

} // namespace

DesktopPower::DesktopPower()
    : sessionServices_(QDBusConnection::SessionBus, QStringLiteral("korvel power session watch"),
                       {kSession, kScreenSaver}),
      logind_(QDBusConnection::SystemBus, QStringLiteral("korvel power system watch"), {kLogind}) {
    for (BusWatch* watch : {&sessionServices_, &logind_}) {
        QObject::connect(watch, &BusWatch::appeared, watch,
                         [this](const QString& service) { takeAgain(service); });
    }
    QObject::connect(&sessionServices_, &BusWatch::lost, &sessionServices_,
                     [this] { sessionBusWentAway(); });
    QObject::connect(&sessionServices_, &BusWatch::returned, &sessionServices_, [this] {
        takeAgain(kSession);
        takeAgain(kScreenSaver);
    });
    // An inhibitor of logind lasts as long as its descriptor: a lost bus takes none away.
    QObject::connect(&logind_, &BusWatch::lost, &logind_,
                     [] { QDBusConnection::disconnectFromBus(kSystemConnection); });
    QObject::connect(&logind_, &BusWatch::returned, &logind_, [this] { takeAgain(kLogind); });
}

DesktopPower::~DesktopPower() {
    held_.clear();
    QDBusConnection::disconnectFromBus(kSessionConnection);
    QDBusConnection::disconnectFromBus(kSystemConnection);
}

std::optional<PowerAssertionId> DesktopPower::create(PowerAssertionType type,
                                                     const std::string& name) {
    Held held{type, name, {}, 0, {}};
    if (!take(held)) {
        return std::nullopt;
    }
    held_.emplace(++made_, std::move(held));
    wantBuses();
    return made_;
}

void DesktopPower::release(PowerAssertionId id) {
    const auto found = held_.find(id);
    if (found != held_.end()) {
        giveBack(found->second);
        held_.erase(found);
    }
    wantBuses();
}

void DesktopPower::wantBuses() {
    for (BusWatch* watch : {&sessionServices_, &logind_}) {
        watch->setWanted(!held_.empty());
    }
}

void DesktopPower::sessionBusWentAway() {
    QDBusConnection::disconnectFromBus(kSessionConnection);
    for (auto& [id, held] : held_) {
        held.grantor.clear();
        held.cookie = 0;
    }
}

bool DesktopPower::take(Held& held) {
    return held.type == PowerAssertionType::noDisplaySleep ? inhibitDisplay(held)
                                                           : inhibitIdle(held);
}

bool DesktopPower::inhibitDisplay(Held& held) {
    constexpr std::uint32_t kNoWindow = 0;
    constexpr std::uint32_t kIdle = 8;
    const QString reason = QString::fromStdString(held.name);
    for (const QString& service : {kSession, kScreenSaver}) {
        if (!sessionBus().isConnected()) {
            QDBusConnection::disconnectFromBus(kSessionConnection);
            return false;
        }
        const QVariantList arguments = service == kSession
                                           ? QVariantList{kProgram, kNoWindow, reason, kIdle}
                                           : QVariantList{kProgram, reason};
        const QDBusReply<std::uint32_t> cookie =
            sessionService(service).call("Inhibit", arguments, kServicePatience);
        if (cookie.isValid()) {
            held.grantor = service.toStdString();
            held.cookie = cookie.value();
            return true;
        }
        if (cookie.error().type() == QDBusError::NoReply) {
            QDBusConnection::disconnectFromBus(kSessionConnection);
        }
    }
    return false;
}

bool DesktopPower::inhibitIdle(Held& held) {
    const QDBusConnection bus = systemBus();
    if (!bus.isConnected()) {
        QDBusConnection::disconnectFromBus(kSystemConnection);
        return false;
    }
    const BusObject manager(bus, kLogind, QStringLiteral("/org/freedesktop/login1"),
                            QStringLiteral("org.freedesktop.login1.Manager"));
    const QDBusReply<QDBusUnixFileDescriptor> reply =
        manager.call("Inhibit",
                     {QStringLiteral("idle"), QStringLiteral("Korvel"),
                      QString::fromStdString(held.name), QStringLiteral("block")},
                     kServicePatience);
    if (!reply.isValid()) {
        if (reply.error().type() == QDBusError::NoReply) {
            QDBusConnection::disconnectFromBus(kSystemConnection);
        }
        return false;
    }
    // A duplicate, because the reply closes its own.
    held.descriptor = FileDescriptor(::fcntl(reply.value().fileDescriptor(), F_DUPFD_CLOEXEC, 0));
    return static_cast<bool>(held.descriptor);
}

void DesktopPower::giveBack(Held& held) {
    held.descriptor.reset();
    if (held.grantor.empty()) {
        return;
    }
    const QString service = QString::fromStdString(held.grantor);
    const char* method = service == kSession ? "Uninhibit" : "UnInhibit";
    const QDBusMessage answer =
        sessionService(service).call(method, {held.cookie}, kServicePatience);
    if (answer.type() == QDBusMessage::ErrorMessage) {
        QDBusConnection::disconnectFromBus(kSessionConnection); // which releases it too
    }
}

void DesktopPower::takeAgain(const QString& service) {
    for (auto& [id, held] : held_) {
        const bool display = held.type == PowerAssertionType::noDisplaySleep;
        if (display != (service != kLogind)) {
            continue;
        }
        // The new one is taken before the old one goes, so that there is no gap. What another
        // service granted stays with that service.
        if (display && !held.grantor.empty() && held.grantor != service.toStdString()) {
            continue;
        }
        Held again{held.type, held.name, {}, 0, {}};
        if (take(again)) {
            held = std::move(again);
        }
    }
}

} // namespace korvel::platform
