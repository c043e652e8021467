#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QtQmlIntegration>

namespace korvel {

/// What each of the popover's sections shows, but for its lists. Colours are names of the
/// palette's.

/// What a screen reader says of each section as a whole, in one sentence; empty: of its lines
/// alone.
struct SpokenValue {
    Q_GADGET
    QML_VALUE_TYPE(spokenValue)
    Q_PROPERTY(QString opening MEMBER opening FINAL)
    Q_PROPERTY(QString banner MEMBER banner FINAL)
    Q_PROPERTY(QString header MEMBER header FINAL)
    Q_PROPERTY(QString breakdown MEMBER breakdown FINAL)
    Q_PROPERTY(QString status MEMBER status FINAL)
    Q_PROPERTY(QString rows MEMBER rows FINAL)
    Q_PROPERTY(QString heaviest MEMBER heaviest FINAL)
    Q_PROPERTY(QString awake MEMBER awake FINAL)
    Q_PROPERTY(QString footer MEMBER footer FINAL)
    Q_PROPERTY(QString result MEMBER result FINAL)

  public:
    QString opening; ///< as the popover opens
    QString banner;
    QString header;
    QString breakdown;
    QString status;
    QString rows;
    QString heaviest;
    QString awake;
    QString footer;
    QString result; ///< of clearing disk space

    bool operator==(const SpokenValue&) const = default;
};

/// The card that greets the user.
struct BannerValue {
    Q_GADGET
    QML_VALUE_TYPE(bannerValue)
    Q_PROPERTY(bool shown MEMBER shown FINAL)
    Q_PROPERTY(QString heading MEMBER heading FINAL)
    Q_PROPERTY(QString subline MEMBER subline FINAL)
    Q_PROPERTY(QString sublineSpoken MEMBER sublineSpoken FINAL)
    Q_PROPERTY(QList<QString> notes MEMBER notes FINAL)
    Q_PROPERTY(QString dismissTip MEMBER dismissTip FINAL)

  public:
    bool shown = false; ///< the texts outlast it, for as long as the card fades
    QString heading;
    QString subline;
    QString sublineSpoken; ///< as a screen reader says it
    QList<QString> notes;
    QString dismissTip;

    bool operator==(const BannerValue&) const = default;
};

/// The score, its verdict, and the machine that they are about.
struct HeaderValue {
    Q_GADGET
    QML_VALUE_TYPE(headerValue)
    Q_PROPERTY(int score MEMBER score FINAL)
    Q_PROPERTY(QString number MEMBER number FINAL)
    Q_PROPERTY(QString colour MEMBER colour FINAL)
    Q_PROPERTY(QString spoken MEMBER spoken FINAL)
    Q_PROPERTY(QString verdict MEMBER verdict FINAL)
    Q_PROPERTY(QString machine MEMBER machine FINAL)
    Q_PROPERTY(QString machineSpoken MEMBER machineSpoken FINAL)
    Q_PROPERTY(QString toggle MEMBER toggle FINAL)
    Q_PROPERTY(bool breakdownShown MEMBER breakdownShown FINAL)

  public:
    int score = 0;  ///< for the dial's arc alone
    QString number; ///< the score as text
    QString colour; ///< of the dial and the verdict
    QString spoken; ///< what a screen reader says of the dial
    QString verdict;
    QString machine;
    QString machineSpoken; ///< as a screen reader says it
    QString toggle;        ///< the label of the button that opens the breakdown
    bool breakdownShown = false;

    bool operator==(const HeaderValue&) const = default;
};

/// The block under the SWAP row, but for the list in it.
struct SwapHoldersValue {
    Q_GADGET
    QML_VALUE_TYPE(swapHoldersValue)
    Q_PROPERTY(bool scanning MEMBER scanning FINAL)
    Q_PROPERTY(QString button MEMBER button FINAL)
    Q_PROPERTY(QString buttonDescription MEMBER buttonDescription FINAL)
    Q_PROPERTY(QString note MEMBER note FINAL)

  public:
    bool scanning = false;
    QString button;            ///< empty: there is a list in its place
    QString buttonDescription; ///< what a screen reader says after its name
    QString note;              ///< under the list

    bool operator==(const SwapHoldersValue&) const = default;
};

/// The line that keeps the machine awake.
struct AwakeValue {
    Q_GADGET
    QML_VALUE_TYPE(awakeValue)
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

    bool operator==(const AwakeValue&) const = default;
};

/// The line on the state of an update.
struct UpdateValue {
    Q_GADGET
    QML_VALUE_TYPE(updateValue)
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

    bool operator==(const UpdateValue&) const = default;
};

/// The line with the watchdog, the reclaim button and the way out.
struct FooterValue {
    Q_GADGET
    QML_VALUE_TYPE(footerValue)
    Q_PROPERTY(QString warden MEMBER warden FINAL)
    Q_PROPERTY(QString wardenTip MEMBER wardenTip FINAL)
    Q_PROPERTY(QString reclaim MEMBER reclaim FINAL)
    Q_PROPERTY(QString reclaimAtRest MEMBER reclaimAtRest FINAL)
    Q_PROPERTY(QString reclaimSymbol MEMBER reclaimSymbol FINAL)
    Q_PROPERTY(bool reclaimSemibold MEMBER reclaimSemibold FINAL)
    Q_PROPERTY(bool reclaimEnabled MEMBER reclaimEnabled FINAL)
    Q_PROPERTY(bool dismissible MEMBER dismissible FINAL)
    Q_PROPERTY(QString dismiss MEMBER dismiss FINAL)
    Q_PROPERTY(QString quit MEMBER quit FINAL)

  public:
    QString warden;
    QString wardenTip;
    QString reclaim;
    QString reclaimAtRest; ///< what it says while nothing is under way
    QString reclaimSymbol; ///< empty: none
    bool reclaimSemibold = false;
    bool reclaimEnabled = false;
    bool dismissible = false; ///< a waiting preview can be put away
    QString dismiss;          ///< the name of the button that does
    QString quit;

    bool operator==(const FooterValue&) const = default;
};

} // namespace korvel
