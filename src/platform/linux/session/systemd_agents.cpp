#include "platform/linux/session/systemd_agents.h"

#include <utility>

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusReply>
#include <QThread>

namespace korvel::platform {

namespace {

const QString& managerName() {
    static const QString name = QStringLiteral("org.freedesktop.systemd1");
    return name;
}
const QString& managerPath() {
    static const QString path = QStringLiteral("/org/freedesktop/systemd1");
    return path;
}
const QString& managerInterface() {
    static const QString interface = QStringLiteral("org.freedesktop.systemd1.Manager");
    return interface;
}

QString unitName(const std::string& label) {
    return QString::fromStdString(label) + QStringLiteral(".service");
}

constexpr const char* kQuestion = "ListUnitsByNames";

QVariantList questionAbout(const std::string& label) {
    return {QStringList{unitName(label)}};
}

/// Whether an answer to the question names a unit that is loaded. Each unit is a structure whose
/// first three members are its name, its description and its load state.
bool saysLoaded(const QDBusMessage& answer) {
    if (answer.type() != QDBusMessage::ReplyMessage ||
        answer.signature() != QStringLiteral("a(ssssssouso)")) {
        return false;
    }
    const auto list = answer.arguments().constFirst().value<QDBusArgument>();
    bool loaded = false;
    list.beginArray();
    while (!list.atEnd()) {
        QString name;
        QString description;
        QString loadState;
        list.beginStructure();
        list >> name >> description >> loadState;
        list.endStructure();
        loaded = loaded || loadState == QStringLiteral("loaded");
    }
    list.endArray();
    return loaded;
}

} // namespace

SystemdAgents::SystemdAgents(const QDBusConnection& bus, std::chrono::milliseconds settle)
    : bus_(bus), manager_(bus, managerName(), managerPath(), managerInterface()) {
    settle_.setSingleShot(true);
    settle_.setInterval(settle);
    connect(&settle_, &QTimer::timeout, this, &SystemdAgents::askAgain);
    connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, &SystemdAgents::managerCame);
    connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this,
            &SystemdAgents::managerWent);
}

bool SystemdAgents::isLoaded(const std::string& label) {
    const bool mine = QThread::currentThread() == thread();
    std::optional<Unit> known;
    {
        const std::lock_guard lock(mutex_);
        if (const auto found = units_.find(label); found != units_.end()) {
            known = found->second;
        }
    }
    if (!bus_.isConnected()) {
        return false;
    }
    if (!mine) {
        return known && known->loaded;
    }
    // Without an event loop, signals would only queue up.
    const bool signalsCome = thread()->loopLevel() > 0;
    if (signalsCome && known && known->watched) {
        return known->loaded;
    }
    if (signalsCome) {
        watch(label); // before the question, so that no change falls between the two
        if (known) {
            ask(label);
            return known->loaded;
        }
    }
    const std::optional<bool> answer = askNow(label);
    keep(label, answer.value_or(false));
    if (!answer && signalsCome) {
        ask(label); // with more patience, and without waiting
    }
    return answer.value_or(false);
}

bool SystemdAgents::managerIsThere() {
    constexpr std::chrono::milliseconds kPatience(100);
    const BusObject bus(bus_, QStringLiteral("org.freedesktop.DBus"),
                        QStringLiteral("/org/freedesktop/DBus"),
                        QStringLiteral("org.freedesktop.DBus"));
    const QDBusReply<bool> answer = bus.call("NameHasOwner", {managerName()}, kPatience);
    return answer.isValid() && answer.value();
}

std::optional<bool> SystemdAgents::askNow(const std::string& label) {
    constexpr std::chrono::milliseconds kPatience(150);
    if (!managerIsThere()) {
        return false;
    }
    const QDBusMessage answer = manager_.call(kQuestion, questionAbout(label), kPatience);
    if (answer.errorName() == QDBusError::errorString(QDBusError::NoReply)) {
        return std::nullopt;
    }
    return saysLoaded(answer);
}

void SystemdAgents::ask(const std::string& label) {
    manager_.ask(kQuestion, questionAbout(label), *this,
                 [this, label](const QDBusMessage& answer) { keep(label, saysLoaded(answer)); });
}

void SystemdAgents::keep(const std::string& label, bool loaded) {
    const std::lock_guard lock(mutex_);
    units_[label].loaded = loaded;
}

void SystemdAgents::watch(const std::string& label) {
    const auto on = [this](const char* signal, const QStringList& arguments, const char* slot) {
        // Without the service's name, which the library would first resolve in a blocking call.
        bus_.connect(QString(), managerPath(), managerInterface(), QString::fromLatin1(signal),
                     arguments, QString(), this, slot);
    };
    if (!started_) {
        started_ = true;
        watcher_.setConnection(bus_);
        watcher_.setWatchMode(QDBusServiceWatcher::WatchForRegistration |
                              QDBusServiceWatcher::WatchForUnregistration);
        watcher_.addWatchedService(managerName());
        on("Reloading", {}, SLOT(reloading(bool)));
        on("UnitFilesChanged", {}, SLOT(unitFilesChanged()));
        manager_.tell("Subscribe");
    }
    {
        const std::lock_guard lock(mutex_);
        if (std::exchange(units_[label].watched, true)) {
            return;
        }
    }
    // The bus sends those of this unit only: a busy session makes and drops others all day long.
    on("UnitNew", {unitName(label)}, SLOT(unitNew(QString)));
    on("UnitRemoved", {unitName(label)}, SLOT(unitRemoved(QString)));
}

void SystemdAgents::managerCame() {
    manager_.tell("Subscribe");
    askSoon(true);
}

void SystemdAgents::managerWent() {
    const std::lock_guard lock(mutex_);
    for (auto& [label, unit] : units_) {
        unit.loaded = false;
        unit.signalled = false;
    }
}

void SystemdAgents::unitNew(const QString& unit) {
    noteUnit(unit, true);
}

void SystemdAgents::unitRemoved(const QString& unit) {
    noteUnit(unit, false);
}

void SystemdAgents::reloading(bool active) {
    if (!active) {
        askSoon(true);
    }
}

void SystemdAgents::unitFilesChanged() {
    askSoon(true);
}

void SystemdAgents::noteUnit(const QString& unit, bool inMemory) {
    {
        const std::lock_guard lock(mutex_);
        for (auto& [label, known] : units_) {
            if (unit != unitName(label)) {
                continue;
            }
            if (!known.signalled) {
                known.signalled = true;
                known.wasInMemory = !inMemory;
            }
            known.isInMemory = inMemory;
        }
    }
    askSoon(false);
}

void SystemdAgents::askSoon(bool all) {
    askAll_ = askAll_ || all;
    settle_.start();
}

void SystemdAgents::askAgain() {
    // The manager answers a question about a unit that is not in memory by loading it and dropping
    // it again, and sends the signals of both. These must not lead to the next question, and so on
    // for ever: only a unit that is in memory now and was not before, or the reverse, has changed.
    std::map<std::string, Unit> before;
    {
        const std::lock_guard lock(mutex_);
        before = units_;
        for (auto& [label, unit] : units_) {
            unit.signalled = false;
        }
    }
    const bool all = std::exchange(askAll_, false);
    for (const auto& [label, unit] : before) {
        if (all || (unit.signalled && unit.wasInMemory != unit.isInMemory)) {
            ask(label);
        }
    }
}

} // namespace korvel::platform
