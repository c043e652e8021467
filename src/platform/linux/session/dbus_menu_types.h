#pragma once

#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace korvel::platform {

/// An entry with what is below it: `(ia{sv}av)`.
struct MenuLayout {
    int id = 0;
    QVariantMap properties;
    QList<MenuLayout> children; ///< each a variant on the bus
};

/// Some properties of an entry: `(ia{sv})`.
struct MenuProperties {
    int id = 0;
    QVariantMap properties;
};

/// Properties that an entry no longer has: `(ias)`.
struct MenuRemovedProperties {
    int id = 0;
    QStringList names;
};

/// What happened to an entry: `(isvu)`.
struct MenuEvent {
    int id = 0;
    QString event; ///< "clicked", "hovered", "opened", "closed"
    QDBusVariant data;
    uint timestamp = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const MenuLayout& layout);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuLayout& layout);
QDBusArgument& operator<<(QDBusArgument& argument, const MenuProperties& properties);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuProperties& properties);
QDBusArgument& operator<<(QDBusArgument& argument, const MenuRemovedProperties& removed);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuRemovedProperties& removed);
QDBusArgument& operator<<(QDBusArgument& argument, const MenuEvent& event);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuEvent& event);

/// Lets the D-Bus library know them. May be called more than once.
void registerDBusMenuTypes();

} // namespace korvel::platform

Q_DECLARE_METATYPE(korvel::platform::MenuLayout)
Q_DECLARE_METATYPE(korvel::platform::MenuProperties)
Q_DECLARE_METATYPE(korvel::platform::MenuRemovedProperties)
Q_DECLARE_METATYPE(korvel::platform::MenuEvent)
