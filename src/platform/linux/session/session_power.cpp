#include "platform/linux/session/session_power.h"

#include <cstdint>
#include <utility>

#include <QDBusObjectPath>
#include <QDBusReply>
#include <QVariantMap>

#include "platform/identity.h"
#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/own_bus_connection.h"

namespace korvel::platform {

namespace {

constexpr std::uint32_t kIdle = 8; ///< of the flags that sessions and the portal share

/// How a service is spoken to.
struct Protocol {
    const char* service;
    const char* path;
    const char* interface;
    bool takesFlags;       ///< and a window
    const char* release;   ///< takes the cookie; null: the end of the connection has to do
    const char* inhibited; ///< says whether the display is kept awake; null: no method does
};

constexpr Protocol kProtocols[] = {
    {"org.gnome.SessionManager", "/org/gnome/SessionManager", "org.gnome.SessionManager", true,
     "Uninhibit", "IsInhibited"},
    {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver",
     false, "UnInhibit", nullptr},
    {"org.freedesktop.PowerManagement", "/org/freedesktop/PowerManagement/Inhibit",
     "org.freedesktop.PowerManagement.Inhibit", false,
     // UnInhibit makes the power manager of XFCE 4.18 free memory twice and abort, each time; the
     // end of a connection only at times.
     nullptr, "HasInhibit"},
};

const QString kProgram = QString::fromLatin1(kBundleIdentifier);

class SessionHold final : public PowerHold {
  public:
    SessionHold(const Protocol& protocol, std::unique_ptr<OwnBusConnection> connection,
                QString owner, std::uint32_t cookie)
        : protocol_(protocol), connection_(std::move(connection)), owner_(std::move(owner)),
          cookie_(cookie) {}
    SessionHold(const SessionHold&) = delete;
    SessionHold& operator=(const SessionHold&) = delete;
    ~SessionHold() override {
        if (protocol_.release) {
            object().call(protocol_.release, {cookie_}, Patience::kOneAnswer);
        }
    }

    QString owner() const override { return owner_; }

    /// Whether the service says so itself, as far as it can be asked.
    bool inForce(const Patience& patience) const {
        if (!protocol_.inhibited) {
            return true;
        }
        const QVariantList arguments = protocol_.takesFlags ? QVariantList{kIdle} : QVariantList{};
        const QDBusReply<bool> inhibited =
            object().call(protocol_.inhibited, arguments, patience.next());
        return !inhibited.isValid() || inhibited.value();
    }

  private:
    /// Of the one who granted it: another that has taken the name knows another cookie.
    BusObject object() const {
        return {connection_->bus(), owner_, QString::fromLatin1(protocol_.path),
                QString::fromLatin1(protocol_.interface)};
    }

    const Protocol& protocol_;
    std::unique_ptr<OwnBusConnection> connection_;
    QString owner_;
    std::uint32_t cookie_;
};

/// The connection that has the service's name; empty: none, or the bus does not say in time. A
/// library of some versions does not tell who sent an answer.
QString ownerOf(const QString& service, const OwnBusConnection& connection,
                std::chrono::milliseconds wait) {
    const QString daemon = QStringLiteral("org.freedesktop.DBus");
    const QDBusReply<QString> owner =
        BusObject(connection.bus(), daemon, QStringLiteral("/org/freedesktop/DBus"), daemon)
            .call("GetNameOwner", {service}, wait);
    return owner.value();
}

class SessionGrantor final : public PowerGrantor {
  public:
    explicit SessionGrantor(const Protocol& protocol) : protocol_(protocol) {}

    QString service() const override { return QString::fromLatin1(protocol_.service); }

    std::unique_ptr<PowerHold> take(const QString& reason, const Patience& patience,
                                    const std::function<void()>&) override {
        auto connection = std::make_unique<OwnBusConnection>(QDBusConnection::SessionBus);
        if (!connection->isConnected() || patience.next().count() <= 0) {
            return nullptr;
        }
        const QString owner = ownerOf(service(), *connection, patience.next());
        if (owner.isEmpty()) {
            return nullptr;
        }
        constexpr std::uint32_t kNoWindow = 0;
        const QVariantList arguments = protocol_.takesFlags
                                           ? QVariantList{kProgram, kNoWindow, reason, kIdle}
                                           : QVariantList{kProgram, reason};
        const QDBusMessage answer =
            BusObject(connection->bus(), owner, QString::fromLatin1(protocol_.path),
                      QString::fromLatin1(protocol_.interface))
                .call("Inhibit", arguments, patience.next());
        const QDBusReply<std::uint32_t> cookie(answer);
        if (!cookie.isValid()) {
            return nullptr;
        }
        auto hold =
            std::make_unique<SessionHold>(protocol_, std::move(connection), owner, cookie.value());
        return hold->inForce(patience) ? std::move(hold) : nullptr;
    }

  private:
    const Protocol& protocol_;
};

const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");

class PortalHold final : public PowerHold {
  public:
    PortalHold(std::unique_ptr<OwnBusConnection> connection, QString owner, QString request)
        : connection_(std::move(connection)), owner_(std::move(owner)),
          request_(std::move(request)) {}
    PortalHold(const PortalHold&) = delete;
    PortalHold& operator=(const PortalHold&) = delete;
    /// Not every portal heeds the call; the connection that closes after it ends every request.
    ~PortalHold() override {
        BusObject(connection_->bus(), owner_, request_,
                  QStringLiteral("org.freedesktop.portal.Request"))
            .call("Close", {}, Patience::kOneAnswer);
    }

    QString owner() const override { return owner_; }

  private:
    std::unique_ptr<OwnBusConnection> connection_;
    QString owner_;
    QString request_;
};

class PortalGrantor final : public PowerGrantor {
  public:
    QString service() const override { return kPortal; }

    std::unique_ptr<PowerHold> take(const QString& reason, const Patience& patience,
                                    const std::function<void()>&) override {
        auto connection = std::make_unique<OwnBusConnection>(QDBusConnection::SessionBus);
        const auto wait = patience.next();
        if (!connection->isConnected() || wait.count() <= 0) {
            return nullptr;
        }
        const QDBusMessage answer =
            BusObject(connection->bus(), kPortal, QStringLiteral("/org/freedesktop/portal/desktop"),
                      QStringLiteral("org.freedesktop.portal.Inhibit"), Activation::allowed)
                .call("Inhibit",
                      {QString(), kIdle, QVariantMap{{QStringLiteral("reason"), reason}}}, wait);
        const QDBusReply<QDBusObjectPath> request(answer);
        if (!request.isValid()) {
            return nullptr;
        }
        const QString owner = ownerOf(kPortal, *connection, Patience::kOneAnswer);
        return std::make_unique<PortalHold>(std::move(connection), owner, request.value().path());
    }
};

} // namespace

PowerGrantorList sessionPowerGrantors() {
    PowerGrantorList grantors;
    for (const Protocol& protocol : kProtocols) {
        grantors.push_back(std::make_unique<SessionGrantor>(protocol));
    }
    return grantors;
}

std::unique_ptr<PowerGrantor> portalPowerGrantor() {
    return std::make_unique<PortalGrantor>();
}

} // namespace korvel::platform
