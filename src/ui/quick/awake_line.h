#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QtQmlIntegration>

namespace korvel {

/// What the line that keeps the machine awake shows.
struct AwakeLine {
    Q_GADGET
    QML_VALUE_TYPE(awakeLine)
    Q_PROPERTY(QString label MEMBER label FINAL)
    Q_PROPERTY(QString tip MEMBER tip FINAL)
    Q_PROPERTY(bool on MEMBER on FINAL)
    Q_PROPERTY(QString remaining MEMBER remaining FINAL)
    Q_PROPERTY(QString control MEMBER control FINAL)
    Q_PROPERTY(QList<QString> choices MEMBER choices FINAL)

  public:
    QString label;
    QString tip;
    bool on = false;
    QString remaining;      ///< empty: not shown
    QString control;        ///< the button, or the title of the menu
    QList<QString> choices; ///< of the menu; none while on

    bool operator==(const AwakeLine&) const = default;
};

} // namespace korvel
