#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <set>

#include <QDBusArgument>
#include <QDBusContext>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QObject>
#include <QStringList>

#include "platform/linux/session/private_bus.h"

namespace korvel {

struct UnitRecord {
    QString name, description, loadState, activeState, subState, following;
    QDBusObjectPath path{QStringLiteral("/")};
    uint jobId = 0;
    QString jobType;
    QDBusObjectPath jobPath{QStringLiteral("/")};
};

QDBusArgument& operator<<(QDBusArgument& argument, const UnitRecord& unit);
const QDBusArgument& operator>>(const QDBusArgument& argument, UnitRecord& unit);

} // namespace korvel

Q_DECLARE_METATYPE(korvel::UnitRecord)

namespace korvel {

struct UnitState {
    QString active = QStringLiteral("inactive");
    QString sub = QStringLiteral("dead");
    QString load = QStringLiteral("loaded");
};

/// The part of the service manager that is used, with its habit of taking a unit that it is asked
/// about into memory and dropping it again, which it tells its subscribers.
class FakeManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.systemd1.Manager")

  public:
    /// None is told. A unit that was never set has no file.
    void set(const QString& unit, const UnitState& state);
    void setLoaded(const QString& unit, bool loaded); ///< running, or installed only
    void setInMemory(const QString& unit, bool inMemory);
    void setTriggeredBy(const QString& unit, const QStringList& triggers);

    /// Tells on `bus` that the unit has changed, on the manager's thread.
    void tellState(const QDBusConnection& bus, const QString& unit,
                   const QString& interface = QStringLiteral("org.freedesktop.systemd1.Unit"));

    /// The answer to a question for what triggers the unit of that path.
    QStringList triggersAt(const QString& path);

    std::atomic<int> questions{0};        ///< for states
    std::atomic<int> questionsOnPaths{0}; ///< for what triggers a unit
    std::atomic<int> subscriptions{0};
    std::atomic<bool> answers{true}; ///< false: it hangs
    /// Called while a unit that is asked about is in memory for that.
    std::function<void(const QString& unit)> takenIn;

  public slots: // NOLINT(readability-redundant-access-specifiers): to moc this is another
    // Their names are the protocol's. NOLINTBEGIN(readability-identifier-naming)
    QList<korvel::UnitRecord> ListUnitsByNames(const QStringList& names);
    void Subscribe();
    // NOLINTEND(readability-identifier-naming)

  signals:
    // NOLINTBEGIN(readability-identifier-naming)
    void UnitNew(const QString& unit, const QDBusObjectPath& path);
    void UnitRemoved(const QString& unit, const QDBusObjectPath& path);
    void Reloading(bool active);
    void UnitFilesChanged();
    // NOLINTEND(readability-identifier-naming)

  private:
    UnitState takeInAndDrop(const QString& unit);

    std::mutex mutex_;
    std::map<QString, UnitState> states_;
    std::map<QString, QStringList> triggers_;
    std::set<QString> inMemory_;
};

/// The objects of the units. Lives on the manager's thread.
class FakeUnits : public QDBusVirtualObject {
  public:
    explicit FakeUnits(FakeManager& manager) : manager_(manager) {}
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

  private:
    FakeManager& manager_;
};

} // namespace korvel
