#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariant>

#include "platform/agents.h"
#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/systemd_answers.h"

namespace korvel::platform {

/// Agents as units of the user's systemd. The service "<label>.service" is loaded while the manager
/// has it in charge: it runs or is being started, or a timer or path unit that triggers it, under
/// whatever name, waits for its time or file. One that was not started, was stopped, has failed or
/// merely has a file is not.
///
/// The manager is asked when a label first comes up, for at most a quarter of a second; from then
/// on the answer is kept and put right by the manager's signals, which the bus sends only for those
/// units or for changes of all units, so that a sample costs nothing and nothing wakes the program
/// while nothing changes. Before the event loop runs the manager is asked each time.
/// Nothing is ever started by asking. Lives on the thread that made it; `isLoaded` may be called on
/// any, and on another one tells what is known.
class SystemdAgents final : public QObject, public Agents {
    Q_OBJECT

  public:
    /// `settle`: how long the manager has to be quiet after signals before it is asked again; those
    /// of one change come close together.
    explicit SystemdAgents(const QDBusConnection& bus,
                           std::chrono::milliseconds settle = std::chrono::milliseconds(500));
    /// On the program's session bus.
    SystemdAgents();

    /// The bus is there again, on this connection: what was known is asked anew.
    void useBus(const QDBusConnection& bus);

    bool isLoaded(const std::string& label) override;

  private:
    /// What signals told of an agent since it was last asked about.
    struct News {
        bool changed = false; ///< a unit is in another state than the last answer said
        bool touched = false; ///< the service is not, but something that triggers it may have come
        // Whether the service was in memory before the signals, and whether it is now.
        bool named = false;
        bool wasInMemory = false;
        bool isInMemory = false;
    };
    struct Agent {
        bool watched = false; ///< the signals of its units are asked for
        QString service;      ///< path of the service
        /// The paths of the service and of what triggers it, and whether each was in charge or
        /// waiting by the last answer.
        std::map<QString, bool> units;
        News news;
    };

    Q_SLOT void managerCame();
    Q_SLOT void managerWent();
    Q_SLOT void unitNew(const QString& unit);
    Q_SLOT void unitRemoved(const QString& unit);
    Q_SLOT void unitChanged(const QString& interface, const QVariantMap& changed,
                            const QStringList& invalidated, const QDBusMessage& signal);
    Q_SLOT void reloading(bool active);
    Q_SLOT void unitFilesChanged();
    Q_SLOT void askAgain();

    bool managerIsThere();
    /// The service and what triggers it; empty: an error; none: no answer in time.
    std::optional<std::vector<SystemdUnit>> askNow(const std::string& label);
    void ask(const std::string& label);
    std::optional<bool> kept(const std::string& label);
    void keep(const std::string& label, const std::vector<SystemdUnit>& units);
    void watch(const std::string& label);
    bool watchUnits(Agent& agent, const std::vector<SystemdUnit>& units);
    void noteUnit(const QString& unit, bool inMemory);
    void askSoon(bool all);

    QDBusConnection bus_;
    BusObject manager_;
    QDBusServiceWatcher watcher_;
    QTimer settle_;
    bool started_ = false;
    bool askAll_ = false;

    std::map<std::string, Agent> agents_; ///< for this object's thread alone

    std::mutex mutex_; ///< guards the map below
    std::map<std::string, bool> loaded_;
};

} // namespace korvel::platform
