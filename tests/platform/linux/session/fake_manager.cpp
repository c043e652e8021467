#include "platform/linux/session/fake_manager.h"

#include <QThread>

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

void FakeManager::setLoaded(const QString& unit, bool loaded) {
    const std::lock_guard lock(mutex_);
    if (loaded) {
        loaded_.insert(unit);
    } else {
        loaded_.erase(unit);
    }
}

void FakeManager::setInMemory(const QString& unit, bool inMemory) {
    const std::lock_guard lock(mutex_);
    if (inMemory) {
        inMemory_.insert(unit);
    } else {
        inMemory_.erase(unit);
    }
}

QList<UnitRecord> FakeManager::ListUnitsByNames(const QStringList& names) {
    ++questions;
    while (!answers) {
        QThread::msleep(10);
    }
    QList<UnitRecord> units;
    for (const QString& name : names) {
        const std::lock_guard lock(mutex_);
        UnitRecord unit;
        unit.name = name;
        unit.loadState =
            loaded_.contains(name) ? QStringLiteral("loaded") : QStringLiteral("not-found");
        units << unit;
        if (!inMemory_.contains(name) && subscriptions > 0) {
            emit UnitNew(name, unit.path);
            emit UnitRemoved(name, unit.path);
        }
    }
    return units;
}

void FakeManager::Subscribe() {
    ++subscriptions;
}

} // namespace korvel
