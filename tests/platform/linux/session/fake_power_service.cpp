#include "platform/linux/session/fake_power_service.h"

#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>

namespace korvel {

namespace {

bool asksWhatIsHeld(const QString& method) {
    return method == QLatin1String("IsInhibited") || method == QLatin1String("HasInhibit") ||
           method == QLatin1String("ListInhibitors");
}

QString freshConnection() {
    static int made = 0;
    return QStringLiteral("fake power service ") + QString::number(++made);
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const InhibitorRecord& record) {
    argument.beginStructure();
    argument << record.what << record.who << record.why << record.mode << record.user
             << record.process;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, InhibitorRecord& record) {
    argument.beginStructure();
    argument >> record.what >> record.who >> record.why >> record.mode >> record.user >>
        record.process;
    argument.endStructure();
    return argument;
}

void PowerCalls::note(const QString& call) {
    const std::lock_guard lock(mutex_);
    calls_ << call;
}

QStringList PowerCalls::all() {
    const std::lock_guard lock(mutex_);
    return calls_;
}

QStringList PowerCalls::taken() {
    const std::lock_guard lock(mutex_);
    return std::exchange(calls_, {});
}

FakePowerService::FakePowerService(const PrivateBus& bus, PowerCalls& calls, const QString& service,
                                   Manner manner)
    : connection_(freshConnection()),
      object_(std::make_unique<Object>(calls, service.section(QLatin1Char('.'), -1), manner)) {
    qDBusRegisterMetaType<InhibitorRecord>();
    qDBusRegisterMetaType<QList<InhibitorRecord>>();
    object_->moveToThread(&thread_);
    thread_.start();
    QMetaObject::invokeMethod(
        object_.get(),
        [&] {
            QDBusConnection own = bus.connect(connection_);
            registered_ = own.registerVirtualObject(QStringLiteral("/"), object_.get(),
                                                    QDBusConnection::SubPath) &&
                          own.registerService(service);
        },
        Qt::BlockingQueuedConnection);
}

FakePowerService::~FakePowerService() {
    QThread* const here = QThread::currentThread();
    QMetaObject::invokeMethod(
        object_.get(),
        [&] {
            QDBusConnection(connection_)
                .unregisterObject(QStringLiteral("/"), QDBusConnection::UnregisterTree);
            QDBusConnection::disconnectFromBus(connection_);
            object_->moveToThread(here);
        },
        Qt::BlockingQueuedConnection);
    thread_.quit();
    thread_.wait();
}

QString FakePowerService::asker() const {
    const std::lock_guard lock(object_->mutex);
    return object_->asker;
}

bool FakePowerService::inhibitorIsClosed() const {
    char byte = 0;
    return object_->kept >= 0 && ::read(object_->kept, &byte, 1) == 0;
}

FakePowerService::Object::Object(PowerCalls& calls, QString name, Manner manner)
    : calls_(calls), name_(std::move(name)), manner_(manner) {}

FakePowerService::Object::~Object() {
    if (kept >= 0) {
        ::close(kept);
    }
}

bool FakePowerService::Object::handleMessage(const QDBusMessage& message,
                                             const QDBusConnection& connection) {
    {
        const std::lock_guard lock(mutex);
        asker = message.service();
    }
    QStringList call{name_, message.member()};
    for (const QVariant& argument : message.arguments()) {
        call << (argument.canConvert<QString>() ? argument.toString() : QStringLiteral("{}"));
    }
    calls_.note(call.join(QLatin1Char(' ')));
    if (manner_ == Manner::hangs) {
        return true;
    }
    if (manner_ == Manner::refuses ||
        (manner_ == Manner::cannotTell && asksWhatIsHeld(message.member()))) {
        return connection.send(message.createErrorReply(QDBusError::UnknownMethod, {}));
    }
    const QVariant answer = answerTo(message);
    return connection.send(answer.isValid() ? message.createReply(answer) : message.createReply());
}

QVariant FakePowerService::Object::answerTo(const QDBusMessage& message) {
    const QString method = message.member();
    if (method == QLatin1String("ListInhibitors")) {
        return QVariant::fromValue(inhibitors());
    }
    if (asksWhatIsHeld(method)) {
        return manner_ != Manner::lies;
    }
    if (method != QLatin1String("Inhibit")) {
        return {};
    }
    if (name_ == QLatin1String("Desktop")) {
        return QVariant::fromValue(QDBusObjectPath(QStringLiteral("/request/1")));
    }
    if (name_ == QLatin1String("login1")) {
        const QVariantList arguments = message.arguments();
        held_ = {arguments.value(0).toString(),
                 arguments.value(1).toString(),
                 arguments.value(2).toString(),
                 arguments.value(3).toString(),
                 ::geteuid(),
                 1};
        return inhibitor();
    }
    return ++cookie_;
}

QVariant FakePowerService::Object::inhibitor() {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return {};
    }
    kept = ends[0];
    QDBusUnixFileDescriptor given;
    given.giveFileDescriptor(ends[1]);
    return QVariant::fromValue(given);
}

QList<InhibitorRecord> FakePowerService::Object::inhibitors() const {
    // Others hold theirs too: of another program, and for another thing.
    QList<InhibitorRecord> list{held_, held_};
    list[0].who = QStringLiteral("another");
    list[1].what = QStringLiteral("sleep");
    if (manner_ != Manner::lies) {
        list << held_;
    }
    return list;
}

} // namespace korvel
