#include "platform/linux/session/fake_manager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QThread>

#include "platform/linux/session/systemd_answers.h"

namespace korvel {

QDBusArgument& operator<<(QDBusArgument& argument, const UnitRecord& unit) {
    argument.beginStructure();
    argument << unit.name << unit.description << unit.loadState << unit.activeState << unit.subState
             << unit.following << unit.path << unit.jobId << unit.jobType << unit.jobPath;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, UnitRecord& unit) {
    argument.beginStructure();
    argument >> unit.name >> unit.description >> unit.loadState >> unit.activeState >>
        unit.subState >> unit.following >> unit.path >> unit.jobId >> unit.jobType >> unit.jobPath;
    argument.endStructure();
    return argument;
}

void FakeManager::set(const QString& unit, const UnitState& state) {
    const std::lock_guard lock(mutex_);
    states_[unit] = state;
}

void FakeManager::setLoaded(const QString& unit, bool loaded) {
    set(unit,
        loaded ? UnitState{QStringLiteral("active"), QStringLiteral("running")} : UnitState{});
}

void FakeManager::setInMemory(const QString& unit, bool inMemory) {
    const std::lock_guard lock(mutex_);
    if (inMemory) {
        inMemory_.insert(unit);
    } else {
        inMemory_.erase(unit);
    }
}

void FakeManager::setTriggeredBy(const QString& unit, const QStringList& triggers) {
    const std::lock_guard lock(mutex_);
    triggers_[unit] = triggers;
}

void FakeManager::tellState(const QDBusConnection& bus, const QString& unit,
                            const QString& interface) {
    QDBusMessage signal = QDBusMessage::createSignal(
        platform::unitPath(unit), QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("PropertiesChanged"));
    const std::lock_guard lock(mutex_);
    const UnitState& state = states_[unit];
    signal << interface
           << QVariantMap{{QStringLiteral("ActiveState"), state.active},
                          {QStringLiteral("SubState"), state.sub}}
           << QStringList();
    bus.send(signal);
}

UnitState FakeManager::takeInAndDrop(const QString& unit) {
    UnitState state{.load = QStringLiteral("not-found")};
    {
        const std::lock_guard lock(mutex_);
        if (const auto found = states_.find(unit); found != states_.end()) {
            state = found->second;
        }
        if (inMemory_.count(unit) != 0 || subscriptions == 0) {
            return state;
        }
    }
    const QDBusObjectPath path(platform::unitPath(unit));
    emit UnitNew(unit, path);
    if (takenIn) {
        takenIn(unit);
    }
    emit UnitRemoved(unit, path);
    return state;
}

QStringList FakeManager::triggersAt(const QString& path) {
    ++questionsOnPaths;
    while (!answers) {
        QThread::msleep(10);
    }
    QStringList found;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& [unit, state] : states_) {
            if (platform::unitPath(unit) == path) {
                found << unit;
            }
        }
    }
    if (found.isEmpty()) {
        return {};
    }
    takeInAndDrop(found.constFirst());
    const std::lock_guard lock(mutex_);
    return triggers_[found.constFirst()];
}

QList<UnitRecord> FakeManager::ListUnitsByNames(const QStringList& names) {
    ++questions;
    while (!answers) {
        QThread::msleep(10);
    }
    QList<UnitRecord> units;
    for (const QString& name : names) {
        const UnitState state = takeInAndDrop(name);
        UnitRecord unit;
        unit.name = name;
        unit.loadState = state.load;
        unit.activeState = state.active;
        unit.subState = state.sub;
        unit.path = QDBusObjectPath(platform::unitPath(name));
        units << unit;
    }
    return units;
}

void FakeManager::Subscribe() {
    ++subscriptions;
}

bool FakeUnits::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.member() != QStringLiteral("Get") ||
        message.arguments().value(1) != QStringLiteral("TriggeredBy")) {
        return false;
    }
    const QStringList triggers = manager_.triggersAt(message.path());
    return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(triggers))));
}

} // namespace korvel
