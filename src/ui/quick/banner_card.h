#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QtQmlIntegration>

namespace korvel {

/// What the card that greets the user shows.
struct BannerCard {
    Q_GADGET
    QML_VALUE_TYPE(bannerCard)
    Q_PROPERTY(bool shown MEMBER shown FINAL)
    Q_PROPERTY(QString heading MEMBER heading FINAL)
    Q_PROPERTY(QString subline MEMBER subline FINAL)
    Q_PROPERTY(QList<QString> notes MEMBER notes FINAL)
    Q_PROPERTY(QString dismissTip MEMBER dismissTip FINAL)

  public:
    bool shown = false; ///< the texts outlast it, for as long as the card fades
    QString heading;
    QString subline;
    QList<QString> notes;
    QString dismissTip;

    bool operator==(const BannerCard&) const = default;
};

} // namespace korvel
