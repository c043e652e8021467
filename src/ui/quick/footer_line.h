#pragma once

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

namespace korvel {

/// What the line with the watchdog, the reclaim button and the way out shows.
struct FooterLine {
    Q_GADGET
    QML_VALUE_TYPE(footerLine)
    Q_PROPERTY(QString warden MEMBER warden FINAL)
    Q_PROPERTY(QString wardenTip MEMBER wardenTip FINAL)
    Q_PROPERTY(QString reclaim MEMBER reclaim FINAL)
    Q_PROPERTY(QString reclaimSymbol MEMBER reclaimSymbol FINAL)
    Q_PROPERTY(bool reclaimSemibold MEMBER reclaimSemibold FINAL)
    Q_PROPERTY(bool reclaimEnabled MEMBER reclaimEnabled FINAL)
    Q_PROPERTY(bool dismissible MEMBER dismissible FINAL)
    Q_PROPERTY(QString quit MEMBER quit FINAL)

  public:
    QString warden;
    QString wardenTip;
    QString reclaim;
    QString reclaimSymbol; ///< empty: none
    bool reclaimSemibold = false;
    bool reclaimEnabled = false;
    bool dismissible = false; ///< a waiting preview can be put away
    QString quit;

    bool operator==(const FooterLine&) const = default;
};

} // namespace korvel
