#include "platform/linux/session/logind_power.h"

#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include <QDBusArgument>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>

#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/own_bus_connection.h"
#include "platform/posix/file_descriptor.h"

namespace korvel::platform {

namespace {

const QString kLogind = QStringLiteral("org.freedesktop.login1");
const QString kWhat = QStringLiteral("idle");
const QString kWho = QStringLiteral("Korvel");
const QString kMode = QStringLiteral("block");

/// It lasts as long as its descriptor: neither a lost bus nor a logind that starts again ends it.
class LogindHold final : public PowerHold {
  public:
    explicit LogindHold(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

  private:
    FileDescriptor descriptor_;
};

/// Whether logind's list has the inhibitor; an answer that is no such list denies nothing.
bool isListed(const QDBusMessage& answer, const QString& reason) {
    const auto list = answer.arguments().value(0).value<QDBusArgument>();
    if (list.currentSignature() != QLatin1String("a(ssssuu)")) {
        return true;
    }
    bool found = false;
    for (list.beginArray(); !list.atEnd();) {
        QString what;
        QString who;
        QString why;
        QString mode;
        uint user = 0;
        uint process = 0;
        list.beginStructure();
        list >> what >> who >> why >> mode >> user >> process;
        list.endStructure();
        found = found || (what == kWhat && who == kWho && why == reason && mode == kMode &&
                          user == ::geteuid());
    }
    list.endArray(); // lets go of what the library holds for it
    return found;
}

class LogindGrantor final : public PowerGrantor {
  public:
    QString service() const override { return kLogind; }

    std::unique_ptr<PowerHold> take(const QString& reason, const Patience& patience,
                                    const std::function<void()>&) override {
        const OwnBusConnection connection(QDBusConnection::SystemBus);
        const auto wait = patience.next();
        if (!connection.isConnected() || wait.count() <= 0) {
            return nullptr;
        }
        const BusObject manager(connection.bus(), kLogind,
                                QStringLiteral("/org/freedesktop/login1"),
                                QStringLiteral("org.freedesktop.login1.Manager"));
        FileDescriptor descriptor;
        {
            const QDBusReply<QDBusUnixFileDescriptor> reply =
                manager.call("Inhibit", {kWhat, kWho, reason, kMode}, wait);
            if (reply.isValid()) {
                // A duplicate, because the reply closes its own.
                descriptor =
                    FileDescriptor(::fcntl(reply.value().fileDescriptor(), F_DUPFD_CLOEXEC, 0));
            }
        }
        if (!descriptor || !isListed(manager.call("ListInhibitors", {}, patience.next()), reason)) {
            return nullptr;
        }
        return std::make_unique<LogindHold>(std::move(descriptor));
    }
};

} // namespace

std::unique_ptr<PowerGrantor> logindPowerGrantor() {
    return std::make_unique<LogindGrantor>();
}

} // namespace korvel::platform
