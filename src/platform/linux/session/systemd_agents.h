#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>

#include "platform/agents.h"
#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/session_bus.h"

namespace korvel::platform {

/// Agents as units of the user's systemd: "<label>.service", loaded when the manager says so of its
/// name.
///
/// The manager is asked when a label first comes up, for at most a quarter of a second; from then
/// on the answer is kept and put right by the manager's signals, which the bus sends only for that
/// unit or for changes of all units, so that a sample costs nothing and nothing wakes the program
/// while nothing changes. In a program without a running event loop the manager is asked each time.
/// Nothing is ever started by asking. Lives on the thread that made it; `isLoaded` may be called on
/// any, and on another one tells what is known.
class SystemdAgents final : public QObject, public Agents {
    Q_OBJECT

  public:
    /// `settle`: how long the manager has to be quiet after signals before it is asked again; those
    /// of one change come close together.
    explicit SystemdAgents(const QDBusConnection& bus = sessionBusIfThere(),
                           std::chrono::milliseconds settle = std::chrono::milliseconds(500));

    bool isLoaded(const std::string& label) override;

  private:
    struct Unit {
        bool loaded = false;
        bool watched = false; ///< its signals are asked for
        // What the signals since the last answer told: whether the unit was in memory before them,
        // and whether it is now.
        bool signalled = false;
        bool wasInMemory = false;
        bool isInMemory = false;
    };

    Q_SLOT void managerCame();
    Q_SLOT void managerWent();
    Q_SLOT void unitNew(const QString& unit);
    Q_SLOT void unitRemoved(const QString& unit);
    Q_SLOT void reloading(bool active);
    Q_SLOT void unitFilesChanged();
    Q_SLOT void askAgain();

    bool managerIsThere();
    std::optional<bool> askNow(const std::string& label); ///< none: no answer in time
    void ask(const std::string& label);
    void keep(const std::string& label, bool loaded);
    void watch(const std::string& label);
    void noteUnit(const QString& unit, bool inMemory);
    void askSoon(bool all);

    QDBusConnection bus_;
    BusObject manager_;
    QDBusServiceWatcher watcher_;
    QTimer settle_;
    bool started_ = false;
    bool askAll_ = false;

    std::mutex mutex_; ///< guards the map below, not the work on the bus
    std::map<std::string, Unit> units_;
};

} // namespace korvel::platform
