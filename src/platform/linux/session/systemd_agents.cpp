#include "platform/linux/session/systemd_agents.h"

#include <algorithm>
#include <utility>

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDeadlineTimer>
#include <QThread>

#include "platform/linux/session/bus_watch.h"
#include "platform/linux/session/session_bus.h"

namespace korvel::platform {

namespace {

const QString& managerName() {
    static const QString name = QString::fromLatin1(kSystemdName);
    return name;
}
const QString& managerPath() {
    static const QString path = QString::fromLatin1(kSystemdPath);
    return path;
}
const QString& managerInterface() {
    static const QString interface = QString::fromLatin1(kSystemdManager);
    return interface;
}

const QString& unitInterface() {
    static const QString interface = QString::fromLatin1(kSystemdUnit);
    return interface;
}

QString unitName(const std::string& label) {
    return QString::fromStdString(serviceOf(label));
}

QVariantList questionAbout(const std::string& label, const QDBusMessage& triggers) {
    return {QStringList(unitName(label)) + waitersIn(triggers)};
}

bool isSilence(const QDBusMessage& answer) {
    return answer.errorName() == QDBusError::errorString(QDBusError::NoReply);
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

SystemdAgents::SystemdAgents() : SystemdAgents(SessionBus::ofProgram().connection()) {
    connect(&SessionBus::ofProgram(), &SessionBus::returned, this, &SystemdAgents::useBus);
}

void SystemdAgents::useBus(const QDBusConnection& bus) {
    bus_ = bus;
    manager_ = BusObject(bus, managerName(), managerPath(), managerInterface());
    started_ = false;
    agents_.clear();
    const std::lock_guard lock(mutex_);
    loaded_.clear();
}

bool SystemdAgents::isLoaded(const std::string& label) {
    const std::optional<bool> known = kept(label);
    if (!bus_.isConnected()) {
        return false;
    }
    if (QThread::currentThread() != thread()) {
        return known.value_or(false);
    }
    // Without an event loop, signals would only queue up.
    const bool signalsCome = thread()->loopLevel() > 0;
    if (signalsCome && known && agents_[label].watched) {
        return *known;
    }
    if (signalsCome) {
        watch(label); // before the question, so that no change falls between the two
        if (known) {
            ask(label);
            return *known;
        }
    }
    const std::optional<std::vector<SystemdUnit>> answer = askNow(label);
    keep(label, answer.value_or(std::vector<SystemdUnit>()));
    if (!answer && signalsCome) {
        ask(label); // with more patience, and without waiting
    }
    return kept(label).value_or(false);
}

bool SystemdAgents::managerIsThere() {
    constexpr std::chrono::milliseconds kPatience(100);
    const BusObject bus(bus_, QStringLiteral("org.freedesktop.DBus"),
                        QStringLiteral("/org/freedesktop/DBus"),
                        QStringLiteral("org.freedesktop.DBus"));
    const QDBusReply<bool> answer = bus.call("NameHasOwner", {managerName()}, kPatience);
    return answer.isValid() && answer.value();
}

std::optional<std::vector<SystemdUnit>> SystemdAgents::askNow(const std::string& label) {
    const QDeadlineTimer patience(std::chrono::milliseconds(150));
    const auto left = [&patience] {
        return std::max(std::chrono::milliseconds(patience.remainingTime()),
                        std::chrono::milliseconds(1));
    };
    if (!managerIsThere()) {
        return std::vector<SystemdUnit>();
    }
    const BusObject service(bus_, managerName(), unitPath(unitName(label)), unitInterface());
    const QDBusMessage triggers = service.callProperty(kSystemdTriggers, left());
    if (isSilence(triggers)) {
        return std::nullopt;
    }
    const QDBusMessage states =
        manager_.call(kSystemdStates, questionAbout(label, triggers), left());
    if (isSilence(states)) {
        return std::nullopt;
    }
    return unitsIn(states);
}

void SystemdAgents::ask(const std::string& label) {
    const BusObject service(bus_, managerName(), unitPath(unitName(label)), unitInterface());
    service.askProperty(kSystemdTriggers, *this, [this, label](const QDBusMessage& triggers) {
        manager_.ask(kSystemdStates, questionAbout(label, triggers), *this,
                     [this, label](const QDBusMessage& states) { keep(label, unitsIn(states)); });
    });
}

std::optional<bool> SystemdAgents::kept(const std::string& label) {
    const std::lock_guard lock(mutex_);
    const auto found = loaded_.find(label);
    return found == loaded_.end() ? std::nullopt : std::optional(found->second);
}

void SystemdAgents::keep(const std::string& label, const std::vector<SystemdUnit>& units) {
    {
        const std::lock_guard lock(mutex_);
        loaded_[label] = platform::isLoaded(units);
    }
    Agent& agent = agents_[label];
    if (agent.watched && watchUnits(agent, units)) {
        ask(label); // what changed before its signals were asked for
    }
}

void SystemdAgents::watch(const std::string& label) {
    const auto on = [this](const char* signal, const QStringList& arguments, const char* slot) {
        // Without the service's name, which the library would first resolve in a blocking call.
        bus_.connect(QString(), managerPath(), managerInterface(), QString::fromLatin1(signal),
                     arguments, QString(), this, slot);
    };
    if (!started_) {
        started_ = true;
        watchOn(watcher_, bus_);
        watcher_.setWatchMode(QDBusServiceWatcher::WatchForRegistration |
                              QDBusServiceWatcher::WatchForUnregistration);
        watcher_.addWatchedService(managerName());
        on("Reloading", {}, SLOT(reloading(bool)));
        on("UnitFilesChanged", {}, SLOT(unitFilesChanged()));
        manager_.tell("Subscribe");
    }
    Agent& agent = agents_[label];
    if (std::exchange(agent.watched, true)) {
        return;
    }
    // The bus sends those of this unit only: a busy session makes and drops others all day long.
    on("UnitNew", {unitName(label)}, SLOT(unitNew(QString)));
    on("UnitRemoved", {unitName(label)}, SLOT(unitRemoved(QString)));
    SystemdUnit service;
    service.path = unitPath(unitName(label)).toStdString();
    watchUnits(agent, {service});
}

/// Follows the signals of these units, the service first, and of no others. Whether there is one
/// among them whose signals were not asked for before.
bool SystemdAgents::watchUnits(Agent& agent, const std::vector<SystemdUnit>& units) {
    // A unit has more interfaces, and tells of each whenever one of them changes.
    const char* const slot = SLOT(unitChanged(QString, QVariantMap, QStringList, QDBusMessage));
    const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");
    const QString signal = QStringLiteral("PropertiesChanged");
    if (units.empty()) {
        for (auto& [path, holds] : agent.units) {
            holds = false;
        }
        return false;
    }
    std::map<QString, bool> now;
    bool isNew = false;
    for (const SystemdUnit& unit : units) {
        const bool holds =
            now.empty() ? isInCharge(unit.activeState) : isWaiting(unit.activeState, unit.subState);
        const QString path = QString::fromStdString(unit.path);
        now.emplace(path, holds);
        if (agent.units.count(path) == 0) {
            bus_.connect(QString(), path, properties, signal, {unitInterface()}, QString(), this,
                         slot);
            isNew = true;
        }
    }
    for (const auto& [path, holds] : agent.units) {
        if (now.count(path) == 0) {
            bus_.disconnect(QString(), path, properties, signal, {unitInterface()}, QString(), this,
                            slot);
        }
    }
    agent.service = QString::fromStdString(units.front().path);
    agent.units = std::move(now);
    return isNew;
}

void SystemdAgents::managerCame() {
    manager_.tell("Subscribe");
    askSoon(true);
}

void SystemdAgents::managerWent() {
    for (auto& [label, agent] : agents_) {
        agent.news = {};
        keep(label, {});
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
    for (auto& [label, agent] : agents_) {
        if (unit != unitName(label)) {
            continue;
        }
        if (!std::exchange(agent.news.named, true)) {
            agent.news.wasInMemory = !inMemory;
        }
        agent.news.isInMemory = inMemory;
    }
    askSoon(false);
}

void SystemdAgents::unitChanged(const QString&, const QVariantMap& changed, const QStringList&,
                                const QDBusMessage& signal) {
    const auto text = [&changed](const QString& property) {
        return changed.value(property).toString().toStdString();
    };
    const std::string active = text(QStringLiteral("ActiveState"));
    const std::string sub = text(QStringLiteral("SubState"));
    bool news = false;
    for (auto& [label, agent] : agents_) {
        const auto unit = agent.units.find(signal.path());
        if (unit == agent.units.end()) {
            continue;
        }
        const bool isService = unit->first == agent.service;
        const bool holds = isService ? isInCharge(active) : isWaiting(active, sub);
        // The service tells of what begins to trigger it as well, without saying so. That matters
        // only where it is not in charge; one that is may tell of its progress all day long.
        agent.news.changed = agent.news.changed || holds != unit->second;
        agent.news.touched = agent.news.touched || (isService && !holds);
        news = news || agent.news.changed || agent.news.touched;
    }
    if (news) {
        askSoon(false);
    }
}

void SystemdAgents::askSoon(bool all) {
    askAll_ = askAll_ || all;
    settle_.start();
}

void SystemdAgents::askAgain() {
    // The manager answers a question about a unit that is not in memory by loading it and dropping
    // it again, and sends the signals of both. These must not lead to the next question, and so on
    // for ever: what was not in memory before and is not now has changed only if its state has.
    const bool all = std::exchange(askAll_, false);
    for (auto& [label, agent] : agents_) {
        const News news = std::exchange(agent.news, {});
        const bool dropped = news.named && !news.isInMemory;
        if (all || news.changed || (news.touched && !dropped) ||
            (news.named && news.wasInMemory != news.isInMemory)) {
            ask(label);
        }
    }
}

} // namespace korvel::platform
