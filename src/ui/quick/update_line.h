#pragma once

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

namespace korvel {

/// What the line on the state of an update shows.
struct UpdateLine {
    Q_GADGET
    QML_VALUE_TYPE(updateLine)
    Q_PROPERTY(bool shown MEMBER shown FINAL)
    Q_PROPERTY(QString symbol MEMBER symbol FINAL)
    Q_PROPERTY(QString colour MEMBER colour FINAL)
    Q_PROPERTY(bool spinning MEMBER spinning FINAL)
    Q_PROPERTY(bool progressing MEMBER progressing FINAL)
    Q_PROPERTY(qreal progress MEMBER progress FINAL)
    Q_PROPERTY(QString words MEMBER words FINAL)
    Q_PROPERTY(bool semibold MEMBER semibold FINAL)
    Q_PROPERTY(bool small MEMBER small FINAL)
    Q_PROPERTY(QString control MEMBER control FINAL)

  public:
    bool shown = false;
    QString symbol; ///< empty: none
    QString colour; ///< of the symbol
    bool spinning = false;
    bool progressing = false;
    qreal progress = 0; ///< 0 to 1
    QString words;
    bool semibold = false;
    bool small = false;
    QString control; ///< the button; empty: none

    bool operator==(const UpdateLine&) const = default;
};

} // namespace korvel
