#pragma once

#include <QByteArray>
#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>

namespace korvel::platform {

/// A picture as org.kde.StatusNotifierItem has it: `(iiay)`.
struct TrayPixmap {
    int width = 0;  ///< pixels
    int height = 0; ///< pixels
    QByteArray
        bytes; ///< alpha, red, green, blue of each pixel, not premultiplied; rows from the top

    bool operator==(const TrayPixmap&) const = default;
};

using TrayPixmaps = QList<TrayPixmap>;

/// What shows while the pointer rests on the item: `(sa(iiay)ss)`.
struct TrayToolTip {
    QString iconName;
    TrayPixmaps pixmaps;
    QString title;
    QString text;
};

QDBusArgument& operator<<(QDBusArgument& argument, const TrayPixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& argument, TrayPixmap& pixmap);
QDBusArgument& operator<<(QDBusArgument& argument, const TrayToolTip& toolTip);
const QDBusArgument& operator>>(const QDBusArgument& argument, TrayToolTip& toolTip);

/// Lets the D-Bus library know them. May be called more than once.
void registerStatusNotifierTypes();

} // namespace korvel::platform

Q_DECLARE_METATYPE(korvel::platform::TrayPixmap)
Q_DECLARE_METATYPE(korvel::platform::TrayToolTip)
