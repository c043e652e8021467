#pragma once

#include <vector>

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusVariant>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "platform/linux/session/dbus_menu_types.h"
#include "platform/linux/session/tray_menu.h"

namespace korvel::platform {

/// The item's menu as a host draws it: the object with the interface com.canonical.dbusmenu. It is
/// one level deep. An entry's number is its place in the list, from 1; 0 is the menu itself.
class DBusMenu final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version MEMBER version_ CONSTANT)
    Q_PROPERTY(QString TextDirection MEMBER textDirection_ CONSTANT)
    Q_PROPERTY(QString Status MEMBER status_ CONSTANT)
    Q_PROPERTY(QStringList IconThemePath MEMBER iconThemePath_ CONSTANT)

  public:
    DBusMenu();

    /// Puts the object on a bus at `path`, until the connection is closed.
    void exportOn(QDBusConnection bus, const QString& path);

    /// Hosts are told of what changed: texts one by one, entries that came or went as a new layout.
    /// An entry's action runs on a later turn than the call that chose it, which is answered first.
    void setEntries(std::vector<TrayMenuEntry> entries);

  public Q_SLOTS: // NOLINT(readability-redundant-access-specifiers): to moc this is another
    // Their names are the protocol's. NOLINTBEGIN(readability-identifier-naming)
    Q_SCRIPTABLE uint GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                                korvel::platform::MenuLayout& layout);
    Q_SCRIPTABLE QList<korvel::platform::MenuProperties>
    GetGroupProperties(const QList<int>& ids, const QStringList& propertyNames);
    Q_SCRIPTABLE QDBusVariant GetProperty(int id, const QString& name);
    Q_SCRIPTABLE void Event(int id, const QString& eventId, const QDBusVariant& data,
                            uint timestamp);
    Q_SCRIPTABLE QList<int> EventGroup(const QList<korvel::platform::MenuEvent>& events);
    Q_SCRIPTABLE bool AboutToShow(int id);
    Q_SCRIPTABLE QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors);

  Q_SIGNALS:
    Q_SCRIPTABLE void
    ItemsPropertiesUpdated(const QList<korvel::platform::MenuProperties>& updatedProps,
                           const QList<korvel::platform::MenuRemovedProperties>& removedProps);
    Q_SCRIPTABLE void LayoutUpdated(uint revision, int parent);
    Q_SCRIPTABLE void ItemActivationRequested(int id, uint timestamp);
    // NOLINTEND(readability-identifier-naming)

  private:
    bool known(int id) const;
    QVariantMap properties(int id, const QStringList& names) const;
    bool refuseUnknown(int id);
    void heed(int id, const QString& event);

    std::vector<TrayMenuEntry> entries_;
    uint revision_ = 1;

    // What never changes.
    const uint version_ = 3;
    const QString textDirection_ = QStringLiteral("ltr");
    const QString status_ = QStringLiteral("normal");
    const QStringList iconThemePath_;
};

} // namespace korvel::platform
