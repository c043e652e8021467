#include "platform/linux/session/single_instance.h"

#include <chrono>
#include <cstdlib>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <QDBusConnection>

#include "platform/identity.h"
#include "platform/linux/session/bus_object.h"

namespace korvel::platform {

namespace {

constexpr std::chrono::seconds kAnswerTime(5); // then the running one hangs, and is left alone

QString busName() {
    return QString::fromLatin1(kBundleIdentifier);
}

QString objectPath() {
    return QLatin1Char('/') + busName().replace(QLatin1Char('.'), QLatin1Char('/'));
}

} // namespace

SingleInstance::SingleInstance(std::function<void()> activated)
    : activated_(std::move(activated)) {}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::acquire() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return acquireLock();
    }
    // The object is registered before the name, so that no call comes before it.
    bus.registerObject(objectPath(), this, QDBusConnection::ExportScriptableSlots);
    const BusObject running(bus, busName(), objectPath(),
                            QStringLiteral("org.freedesktop.Application"));
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (bus.registerService(busName())) {
            return true;
        }
        const QDBusMessage answer = running.call("Activate", {QVariantMap()}, kAnswerTime);
        // The other one may have ended in between; then the name is free.
        if (!BusObject::nobodyThere(answer)) {
            return false;
        }
    }
    return false;
}

void SingleInstance::Activate(const QVariantMap&) {
    activated_();
}

bool SingleInstance::acquireLock() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    const std::string path = runtime && *runtime == '/'
                                 ? std::string(runtime) + "/korvel.lock"
                                 : "/tmp/korvel-" + std::to_string(::getuid()) + ".lock";
    lock_ = FileDescriptor(
        ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    // Where no file can be locked the program may run twice, which is better than not at all.
    return !lock_ || ::flock(lock_.get(), LOCK_EX | LOCK_NB) == 0;
}

} // namespace korvel::platform
