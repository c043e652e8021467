#pragma once

#include <atomic>
#include <mutex>
#include <set>

#include <QDBusArgument>
#include <QDBusContext>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QObject>
#include <QStringList>

#include "platform/linux/session/private_bus.h"

namespace korvel {

struct UnitRecord {
    QString name, description, loadState, activeState, subState, following;
    QDBusObjectPath path{QStringLiteral("/org/freedesktop/systemd1/unit/x")};
    uint jobId = 0;
    QString jobType;
    QDBusObjectPath jobPath{QStringLiteral("/")};
};

QDBusArgument& operator<<(QDBusArgument& argument, const UnitRecord& unit);
const QDBusArgument& operator>>(const QDBusArgument& argument, UnitRecord& unit);

} // namespace korvel

Q_DECLARE_METATYPE(korvel::UnitRecord)

namespace korvel {

/// The part of the service manager that is used, with its habit of taking a unit that it is asked
/// about into memory and dropping it again, which it tells its subscribers.
class FakeManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.systemd1.Manager")

  public:
    void setLoaded(const QString& unit, bool loaded);
    void setInMemory(const QString& unit, bool inMemory);

    std::atomic<int> questions{0};
    std::atomic<int> subscriptions{0};
    std::atomic<bool> answers{true}; ///< false: it hangs

  public slots:
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
    std::mutex mutex_;
    std::set<QString> loaded_;
    std::set<QString> inMemory_;
};

} // namespace korvel
