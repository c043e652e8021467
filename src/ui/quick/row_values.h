#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QtQmlIntegration>

namespace korvel {

/// What one row of each of the popover's lists shows. Colours are names of the palette's; `spoken`
/// is what a screen reader says of the whole row.

/// What one factor takes from the score.
struct FactorValue {
    Q_GADGET
    QML_VALUE_TYPE(factorValue)
    Q_PROPERTY(QString name MEMBER name FINAL)
    Q_PROPERTY(QString lost MEMBER lost FINAL)
    Q_PROPERTY(qreal barFraction MEMBER barFraction FINAL)
    Q_PROPERTY(QString barColour MEMBER barColour FINAL)
    Q_PROPERTY(QString lostColour MEMBER lostColour FINAL)
    Q_PROPERTY(QString detail MEMBER detail FINAL)
    Q_PROPERTY(QString spoken MEMBER spoken FINAL)

  public:
    QString name;
    QString lost; ///< points
    qreal barFraction = 0;
    QString barColour;
    QString lostColour;
    QString detail;
    QString spoken;

    bool operator==(const FactorValue&) const = default;
};

/// One sentence about the machine's state.
struct StatusValue {
    Q_GADGET
    QML_VALUE_TYPE(statusValue)
    Q_PROPERTY(QString symbol MEMBER symbol FINAL)
    Q_PROPERTY(QString colour MEMBER colour FINAL)
    Q_PROPERTY(QString words MEMBER words FINAL)
    Q_PROPERTY(QString textStyle MEMBER textStyle FINAL)

  public:
    QString symbol;
    QString colour; ///< of the symbol
    QString words;
    QString textStyle;

    bool operator==(const StatusValue&) const = default;
};

/// One metric and the sentence that explains it.
struct MetricValue {
    Q_GADGET
    QML_VALUE_TYPE(metricValue)
    Q_PROPERTY(QString label MEMBER label FINAL)
    Q_PROPERTY(QString percent MEMBER percent FINAL)
    Q_PROPERTY(qreal barFraction MEMBER barFraction FINAL)
    Q_PROPERTY(QString colour MEMBER colour FINAL)
    Q_PROPERTY(QString detail MEMBER detail FINAL)
    Q_PROPERTY(bool hasSpark MEMBER hasSpark FINAL)
    Q_PROPERTY(QString sparkColour MEMBER sparkColour FINAL)
    Q_PROPERTY(QList<qreal> sparkValues MEMBER sparkValues FINAL)
    Q_PROPERTY(bool holdsSwap MEMBER holdsSwap FINAL)
    Q_PROPERTY(QString spoken MEMBER spoken FINAL)

  public:
    QString label;
    QString percent;
    qreal barFraction = 0;
    QString colour;
    QString detail;
    bool hasSpark = false;
    QString sparkColour;
    QList<qreal> sparkValues;
    bool holdsSwap = false; ///< the block of the swap holders stands under this row
    QString spoken;

    bool operator==(const MetricValue&) const = default;
};

/// A process and the button that ends it.
struct ProcessValue {
    Q_GADGET
    QML_VALUE_TYPE(processValue)
    Q_PROPERTY(int pid MEMBER pid FINAL)
    Q_PROPERTY(QString name MEMBER name FINAL)
    Q_PROPERTY(QString size MEMBER size FINAL)
    Q_PROPERTY(bool canQuit MEMBER canQuit FINAL)
    Q_PROPERTY(QString quit MEMBER quit FINAL)
    Q_PROPERTY(QString tip MEMBER tip FINAL)
    Q_PROPERTY(QString quitDescription MEMBER quitDescription FINAL)
    Q_PROPERTY(QString spoken MEMBER spoken FINAL)

  public:
    int pid = 0;
    QString name;
    QString size;
    bool canQuit = false;    ///< there is a button
    QString quit;            ///< the button's name
    QString tip;             ///< the button's
    QString quitDescription; ///< what a screen reader says after the button's name
    QString spoken;

    bool operator==(const ProcessValue&) const = default;
};

} // namespace korvel
