#include "platform/linux/session/single_instance.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QEventLoop>
#include <QTimer>

#include "platform/identity.h"
#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/session_bus.h"
#include "platform/status_bar.h"

namespace korvel::platform {

namespace {

QString busName() {
    return QString::fromLatin1(kBundleIdentifier);
}

QString objectPath() {
    return QLatin1Char('/') + busName().replace(QLatin1Char('.'), QLatin1Char('/'));
}

// The interface's names of what a launcher gave.
constexpr QLatin1String kActivationToken("activation-token");
constexpr QLatin1String kStartupToken("desktop-startup-id");

QVariantMap platformData(const LaunchToken& token) {
    QVariantMap data;
    const auto add = [&data](QLatin1String name, const std::string& value) {
        if (!value.empty()) {
            data.insert(name, QString::fromStdString(value));
        }
    };
    add(kActivationToken, token.activation);
    add(kStartupToken, token.startup);
    return data;
}

/// Empty where there is none, or something else.
std::string text(const QVariantMap& data, QLatin1String name) {
    const QVariant value = data.value(name);
    return value.userType() == QMetaType::QString ? value.toString().toStdString() : std::string();
}

/// Runs the loop until something ends it, for so long at most.
void runFor(QEventLoop& loop, std::chrono::milliseconds longest) {
    QTimer::singleShot(longest, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

SingleInstance::SingleInstance(Activated activated)
    : SingleInstance(std::move(activated), Patience()) {}

SingleInstance::SingleInstance(Activated activated, Patience patience)
    : activated_(std::move(activated)), patience_(patience) {}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::acquire(Start start, const LaunchToken& token) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    QDBusConnectionInterface* const names = bus.interface(); // null also where the bus refused
    if (!bus.isConnected() || names == nullptr) {
        return acquireLock(start);
    }
    const bool only = acquireName(*names, start, token);
    if (only) {
        tryLock(); // whether or not it is free: the name decides
        connect(&SessionBus::ofProgram(), &SessionBus::returned, this, &SingleInstance::useBus,
                Qt::UniqueConnection);
    }
    return only;
}

bool SingleInstance::acquireName(QDBusConnectionInterface& names, Start start,
                                 const LaunchToken& token) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    // The object is registered before the name, so that no call comes before it.
    bus.registerObject(objectPath(), this, QDBusConnection::ExportScriptableSlots);
    QEventLoop loop;
    bool owner = false;
    connect(&names, &QDBusConnectionInterface::serviceRegistered, &loop, [&](const QString& name) {
        if (name == busName()) {
            owner = true;
            loop.quit();
        }
    });
    // Whenever the one that has the name ends, the bus gives it to the first in the queue.
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        names.registerService(busName(), QDBusConnectionInterface::QueueService);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered) {
        return true;
    }
    if (start == Start::relaunch) {
        runFor(loop, patience_.end);
    }
    if (!owner) {
        const bool unasked = start == Start::session;
        const BusObject running(bus, busName(), objectPath(),
                                unasked ? QStringLiteral("org.freedesktop.DBus.Peer")
                                        : QStringLiteral("org.freedesktop.Application"));
        const QVariantList arguments = unasked ? QVariantList() : QVariantList{platformData(token)};
        running.ask(unasked ? "Ping" : "Activate", arguments, loop,
                    [&loop](const QDBusMessage& answer) {
                        // An error is no answer: it is about to end, or has ended, and then the
                        // name comes.
                        if (answer.type() != QDBusMessage::ErrorMessage) {
                            loop.quit();
                        }
                    });
        runFor(loop, patience_.answer);
    }
    if (!owner) {
        names.unregisterService(busName()); // which leaves the queue
    }
    return owner;
}

void SingleInstance::useBus(const QDBusConnection& bus) {
    constexpr std::uint32_t kInTheQueue = 0; // the bus's word for no flags
    QDBusConnection(bus).registerObject(objectPath(), this, QDBusConnection::ExportScriptableSlots);
    const QString daemon = QStringLiteral("org.freedesktop.DBus");
    BusObject(bus, daemon, QStringLiteral("/org/freedesktop/DBus"), daemon)
        .tell("RequestName", {busName(), kInTheQueue});
}

void SingleInstance::Activate(const QVariantMap& platformData) {
    const LaunchToken token{.activation = text(platformData, kActivationToken),
                            .startup = text(platformData, kStartupToken)};
    activated_({.place = std::nullopt, .token = token.any()});
}

bool SingleInstance::acquireLock(Start start) {
    // Where no file can be locked the program may run twice, which is better than not at all.
    return tryLock() || !lock_ || (start == Start::relaunch && waitForLock());
}

bool SingleInstance::tryLock() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    const std::string path = runtime && *runtime == '/'
                                 ? std::string(runtime) + "/korvel.lock"
                                 : "/tmp/korvel-" + std::to_string(::getuid()) + ".lock";
    lock_ = FileDescriptor(
        ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    if (!lock_) {
        return false;
    }
    if (::flock(lock_.get(), LOCK_EX | LOCK_NB) == 0) {
        return true;
    }
    if (errno != EWOULDBLOCK) {
        lock_.reset(); // nobody has it: the file system has no locks
    }
    return false;
}

bool SingleInstance::waitForLock() {
    // A lock that comes free is told only to a thread that stands still for it, which may be one
    // that cannot be started.
    constexpr std::chrono::milliseconds kPause(50);
    QEventLoop loop;
    bool locked = false;
    QTimer again;
    again.callOnTimeout(&loop, [&] {
        locked = ::flock(lock_.get(), LOCK_EX | LOCK_NB) == 0;
        if (locked) {
            loop.quit();
        }
    });
    again.start(kPause);
    runFor(loop, patience_.end);
    return locked;
}

} // namespace korvel::platform
