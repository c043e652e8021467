#pragma once

#include <QFont>
#include <QLocale>
#include <QObject>
#include <QVariant>
#include <QtQmlIntegration>

#include "ui/content/popover_fonts.h"
#include "ui/content/popover_sizes.h"

class QJSEngine;
class QQmlEngine;

namespace korvel {

/// The sizes and fonts of the popover, by the names that the views know them by.
class Theme : public QObject, private PopoverSizes, private PopoverFonts {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    /// Whether a change may be seen to happen: nothing is animated where the user wants it still.
    Q_PROPERTY(bool moves READ moves WRITE setMoves NOTIFY movesChanged FINAL)
    /// Whether the views are laid out from right to left, as the language of the user's system is.
    Q_PROPERTY(bool mirrored READ mirrored WRITE setMirrored NOTIFY mirroredChanged FINAL)
    Q_PROPERTY(qreal popoverWidth MEMBER kPopoverWidth CONSTANT FINAL)
    Q_PROPERTY(qreal sidePadding MEMBER kSidePadding CONSTANT FINAL)
    Q_PROPERTY(qreal popoverRadius MEMBER kPopoverRadius CONSTANT FINAL)
    Q_PROPERTY(qreal cornerInset MEMBER kCornerInset CONSTANT FINAL)
    Q_PROPERTY(qreal shadowOpacity MEMBER kShadowOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal shadowOpacityDark MEMBER kShadowOpacityDark CONSTANT FINAL)
    Q_PROPERTY(qreal dialTrackOpacity MEMBER kDialTrackOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal rowTrackOpacity MEMBER kRowTrackOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal factorTrackOpacity MEMBER kFactorTrackOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal dividerOpacity MEMBER kDividerOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal borderOpacity MEMBER kBorderOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal highlightOpacity MEMBER kHighlightOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal scrollBarOpacity MEMBER kScrollBarOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal scrollBarOpacityActive MEMBER kScrollBarOpacityActive CONSTANT FINAL)
    Q_PROPERTY(qreal scrollStep MEMBER kScrollStep CONSTANT FINAL)
    Q_PROPERTY(qreal revealMargin MEMBER kRevealMargin CONSTANT FINAL)
    Q_PROPERTY(qreal scrollBarWidth MEMBER kScrollBarWidth CONSTANT FINAL)
    Q_PROPERTY(qreal scrollBarPadding MEMBER kScrollBarPadding CONSTANT FINAL)
    Q_PROPERTY(qreal scrollBarEndPadding MEMBER kScrollBarEndPadding CONSTANT FINAL)
    Q_PROPERTY(qreal shortestScrollBar MEMBER kShortestScrollBar CONSTANT FINAL)
    Q_PROPERTY(qreal headerTop MEMBER kHeaderTop CONSTANT FINAL)
    Q_PROPERTY(qreal headerBottom MEMBER kHeaderBottom CONSTANT FINAL)
    Q_PROPERTY(qreal headerSpacing MEMBER kHeaderSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal headerLineSpacing MEMBER kHeaderLineSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal dialSize MEMBER kDialSize CONSTANT FINAL)
    Q_PROPERTY(qreal dialLineWidth MEMBER kDialLineWidth CONSTANT FINAL)
    Q_PROPERTY(int scoreAnimation MEMBER kScoreAnimation CONSTANT FINAL)
    Q_PROPERTY(qreal toggleTop MEMBER kToggleTop CONSTANT FINAL)
    Q_PROPERTY(qreal toggleOutdent MEMBER kToggleOutdent CONSTANT FINAL)
    Q_PROPERTY(qreal breakdownBottom MEMBER kBreakdownBottom CONSTANT FINAL)
    Q_PROPERTY(qreal factorSpacing MEMBER kFactorSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal factorLineSpacing MEMBER kFactorLineSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal pointsWidth MEMBER kPointsWidth CONSTANT FINAL)
    Q_PROPERTY(qreal shortestFactorBar MEMBER kShortestFactorBar CONSTANT FINAL)
    Q_PROPERTY(qreal footnoteTop MEMBER kFootnoteTop CONSTANT FINAL)
    Q_PROPERTY(qreal statusPadding MEMBER kStatusPadding CONSTANT FINAL)
    Q_PROPERTY(qreal statusSpacing MEMBER kStatusSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal symbolFrame MEMBER kSymbolFrame CONSTANT FINAL)
    Q_PROPERTY(qreal rowsPadding MEMBER kRowsPadding CONSTANT FINAL)
    Q_PROPERTY(qreal rowsSpacing MEMBER kRowsSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal rowLineSpacing MEMBER kRowLineSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal rowSpacing MEMBER kRowSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal captionWidth MEMBER kCaptionWidth CONSTANT FINAL)
    Q_PROPERTY(qreal detailIndent MEMBER kDetailIndent CONSTANT FINAL)
    Q_PROPERTY(qreal barHeight MEMBER kBarHeight CONSTANT FINAL)
    Q_PROPERTY(qreal shortestRowBar MEMBER kShortestRowBar CONSTANT FINAL)
    Q_PROPERTY(qreal sparkWidth MEMBER kSparkWidth CONSTANT FINAL)
    Q_PROPERTY(qreal sparkHeight MEMBER kSparkHeight CONSTANT FINAL)
    Q_PROPERTY(qreal percentWidth MEMBER kPercentWidth CONSTANT FINAL)
    Q_PROPERTY(qreal holdersPadding MEMBER kHoldersPadding CONSTANT FINAL)
    Q_PROPERTY(qreal holdersTop MEMBER kHoldersTop CONSTANT FINAL)
    Q_PROPERTY(qreal holdersBottom MEMBER kHoldersBottom CONSTANT FINAL)
    Q_PROPERTY(qreal holdersOutdent MEMBER kHoldersOutdent CONSTANT FINAL)
    Q_PROPERTY(qreal holdersNoteTop MEMBER kHoldersNoteTop CONSTANT FINAL)
    Q_PROPERTY(qreal processesPadding MEMBER kProcessesPadding CONSTANT FINAL)
    Q_PROPERTY(qreal processesSpacing MEMBER kProcessesSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal processHeight MEMBER kProcessHeight CONSTANT FINAL)
    Q_PROPERTY(qreal markFrame MEMBER kMarkFrame CONSTANT FINAL)
    Q_PROPERTY(qreal markSize MEMBER kMarkSize CONSTANT FINAL)
    Q_PROPERTY(qreal markOpacity MEMBER kMarkOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal quitSize MEMBER kQuitSize CONSTANT FINAL)
    Q_PROPERTY(qreal quitReach MEMBER kQuitReach CONSTANT FINAL)
    Q_PROPERTY(qreal bannerTop MEMBER kBannerTop CONSTANT FINAL)
    Q_PROPERTY(qreal bannerSide MEMBER kBannerSide CONSTANT FINAL)
    Q_PROPERTY(qreal bannerBottom MEMBER kBannerBottom CONSTANT FINAL)
    Q_PROPERTY(qreal bannerPadding MEMBER kBannerPadding CONSTANT FINAL)
    Q_PROPERTY(qreal bannerRadius MEMBER kBannerRadius CONSTANT FINAL)
    Q_PROPERTY(qreal bannerFillOpacity MEMBER kBannerFillOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal bannerStrokeOpacity MEMBER kBannerStrokeOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal bannerSpacing MEMBER kBannerSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal bannerLineSpacing MEMBER kBannerLineSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal bannerMark MEMBER kBannerMark CONSTANT FINAL)
    Q_PROPERTY(qreal bannerDismissPadding MEMBER kBannerDismissPadding CONSTANT FINAL)
    Q_PROPERTY(qreal bannerNoteSpacing MEMBER kBannerNoteSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal bannerNoteIndent MEMBER kBannerNoteIndent CONSTANT FINAL)
    Q_PROPERTY(qreal bannerDot MEMBER kBannerDot CONSTANT FINAL)
    Q_PROPERTY(qreal bannerDotTop MEMBER kBannerDotTop CONSTANT FINAL)
    Q_PROPERTY(qreal bannerDotSpacing MEMBER kBannerDotSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal bannerDotOpacity MEMBER kBannerDotOpacity CONSTANT FINAL)
    Q_PROPERTY(int bannerAnimation MEMBER kBannerAnimation CONSTANT FINAL)
    Q_PROPERTY(qreal updatePadding MEMBER kUpdatePadding CONSTANT FINAL)
    Q_PROPERTY(qreal spinnerSize MEMBER kSpinnerSize CONSTANT FINAL)
    Q_PROPERTY(qreal spinnerLineWidth MEMBER kSpinnerLineWidth CONSTANT FINAL)
    Q_PROPERTY(qreal spinnerArc MEMBER kSpinnerArc CONSTANT FINAL)
    Q_PROPERTY(int spinnerTurn MEMBER kSpinnerTurn CONSTANT FINAL)
    Q_PROPERTY(qreal keepAwakePadding MEMBER kKeepAwakePadding CONSTANT FINAL)
    Q_PROPERTY(qreal footerPadding MEMBER kFooterPadding CONSTANT FINAL)
    Q_PROPERTY(qreal footerSpacing MEMBER kFooterSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal resultPadding MEMBER kResultPadding CONSTANT FINAL)
    Q_PROPERTY(qreal dismissSize MEMBER kDismissSize CONSTANT FINAL)
    Q_PROPERTY(qreal focusRing MEMBER kFocusRing CONSTANT FINAL)
    Q_PROPERTY(qreal focusRingStrong MEMBER kFocusRingStrong CONSTANT FINAL)
    Q_PROPERTY(qreal focusReach MEMBER kFocusReach CONSTANT FINAL)
    Q_PROPERTY(qreal focusRadius MEMBER kFocusRadius CONSTANT FINAL)
    Q_PROPERTY(qreal smallestWord MEMBER kSmallestWord CONSTANT FINAL)
    Q_PROPERTY(qreal menuWidth MEMBER kMenuWidth CONSTANT FINAL)
    Q_PROPERTY(qreal menuPadding MEMBER kMenuPadding CONSTANT FINAL)
    Q_PROPERTY(qreal menuItemHeight MEMBER kMenuItemHeight CONSTANT FINAL)
    Q_PROPERTY(qreal menuItemRadius MEMBER kMenuItemRadius CONSTANT FINAL)
    Q_PROPERTY(qreal tipSidePadding MEMBER kTipSidePadding CONSTANT FINAL)
    Q_PROPERTY(qreal tipPadding MEMBER kTipPadding CONSTANT FINAL)
    Q_PROPERTY(int tipDelay MEMBER kTipDelay CONSTANT FINAL)
    Q_PROPERTY(qreal toggleSymbol MEMBER kToggleSymbol CONSTANT FINAL)
    Q_PROPERTY(qreal calmSymbol MEMBER kCalmSymbol CONSTANT FINAL)
    Q_PROPERTY(qreal alertSymbol MEMBER kAlertSymbol CONSTANT FINAL)
    Q_PROPERTY(qreal holdersSymbol MEMBER kHoldersSymbol CONSTANT FINAL)
    Q_PROPERTY(qreal quitSymbol MEMBER kQuitSymbol CONSTANT FINAL)
    Q_PROPERTY(qreal actionSymbol MEMBER kActionSymbol CONSTANT FINAL)
    Q_PROPERTY(qreal dismissSymbol MEMBER kDismissSymbol CONSTANT FINAL)
    Q_PROPERTY(qreal updateSymbol MEMBER kUpdateSymbol CONSTANT FINAL)
    Q_PROPERTY(qreal symbolSpacing MEMBER kSymbolSpacing CONSTANT FINAL)
    Q_PROPERTY(qreal chevronSpacing MEMBER kChevronSpacing CONSTANT FINAL)
    Q_PROPERTY(QVariantList easeOut READ easeOut CONSTANT FINAL)
    Q_PROPERTY(QFont dialNumber MEMBER dialNumber_ CONSTANT FINAL)
    Q_PROPERTY(QFont verdict MEMBER verdict_ CONSTANT FINAL)
    Q_PROPERTY(QFont machineLine MEMBER machineLine_ CONSTANT FINAL)
    Q_PROPERTY(QFont toggle MEMBER toggle_ CONSTANT FINAL)
    Q_PROPERTY(QFont factorName MEMBER factorName_ CONSTANT FINAL)
    Q_PROPERTY(QFont factorPoints MEMBER factorPoints_ CONSTANT FINAL)
    Q_PROPERTY(QFont factorDetail MEMBER factorDetail_ CONSTANT FINAL)
    Q_PROPERTY(QFont footnote MEMBER footnote_ CONSTANT FINAL)
    Q_PROPERTY(QFont status MEMBER status_ CONSTANT FINAL)
    Q_PROPERTY(QFont rowCaption MEMBER rowCaption_ CONSTANT FINAL)
    Q_PROPERTY(QFont rowPercent MEMBER rowPercent_ CONSTANT FINAL)
    Q_PROPERTY(QFont rowDetail MEMBER rowDetail_ CONSTANT FINAL)
    Q_PROPERTY(QFont holdersButton MEMBER holdersButton_ CONSTANT FINAL)
    Q_PROPERTY(QFont holderName MEMBER holderName_ CONSTANT FINAL)
    Q_PROPERTY(QFont holderSize MEMBER holderSize_ CONSTANT FINAL)
    Q_PROPERTY(QFont holdersNote MEMBER holdersNote_ CONSTANT FINAL)
    Q_PROPERTY(QFont listCaption MEMBER listCaption_ CONSTANT FINAL)
    Q_PROPERTY(QFont processName MEMBER processName_ CONSTANT FINAL)
    Q_PROPERTY(QFont processSize MEMBER processSize_ CONSTANT FINAL)
    Q_PROPERTY(QFont action MEMBER action_ CONSTANT FINAL)
    Q_PROPERTY(QFont actionSemibold MEMBER actionSemibold_ CONSTANT FINAL)
    Q_PROPERTY(QFont bannerHeading MEMBER bannerHeading_ CONSTANT FINAL)
    Q_PROPERTY(QFont bannerSubline MEMBER bannerSubline_ CONSTANT FINAL)
    Q_PROPERTY(QFont bannerNote MEMBER bannerNote_ CONSTANT FINAL)
    Q_PROPERTY(QFont updateSmall MEMBER updateSmall_ CONSTANT FINAL)
    Q_PROPERTY(QFont remaining MEMBER remaining_ CONSTANT FINAL)
    Q_PROPERTY(QFont awakeControl MEMBER awakeControl_ CONSTANT FINAL)
    Q_PROPERTY(QFont warden MEMBER warden_ CONSTANT FINAL)
    Q_PROPERTY(QFont result MEMBER result_ CONSTANT FINAL)
    Q_PROPERTY(QFont tip MEMBER tip_ CONSTANT FINAL)

  public:
    explicit Theme(QObject* parent) : QObject(parent) {}

    /// For the QML engine. Follows the engine's `DesktopStyle`, when it has one.
    static Theme* create(QQmlEngine* engine, QJSEngine*);

    bool moves() const { return moves_; }
    void setMoves(bool moves);
    bool mirrored() const { return mirrored_; }
    void setMirrored(bool mirrored);

    /// The curve of an animation that begins at once and ends gently.
    static QVariantList easeOut() { return {0.0, 0.0, 0.58, 1.0, 1.0, 1.0}; }

  Q_SIGNALS:
    void movesChanged();
    void mirroredChanged();

  private:
    static QFont made(const FontStyle& style);

    bool moves_ = true;
    bool mirrored_ = QLocale::system().textDirection() == Qt::RightToLeft;

    QFont dialNumber_ = made(kDialNumber);
    QFont verdict_ = made(kVerdict);
    QFont machineLine_ = made(kMachineLine);
    QFont toggle_ = made(kToggle);
    QFont factorName_ = made(kFactorName);
    QFont factorPoints_ = made(kFactorPoints);
    QFont factorDetail_ = made(kFactorDetail);
    QFont footnote_ = made(kFootnote);
    QFont status_ = made(kStatus);
    QFont rowCaption_ = made(kRowCaption);
    QFont rowPercent_ = made(kRowPercent);
    QFont rowDetail_ = made(kRowDetail);
    QFont holdersButton_ = made(kHoldersButton);
    QFont holderName_ = made(kHolderName);
    QFont holderSize_ = made(kHolderSize);
    QFont holdersNote_ = made(kHoldersNote);
    QFont listCaption_ = made(kListCaption);
    QFont processName_ = made(kProcessName);
    QFont processSize_ = made(kProcessSize);
    QFont action_ = made(kAction);
    QFont actionSemibold_ = made(kActionSemibold);
    QFont bannerHeading_ = made(kBannerHeading);
    QFont bannerSubline_ = made(kBannerSubline);
    QFont bannerNote_ = made(kBannerNote);
    QFont updateSmall_ = made(kUpdateSmall);
    QFont remaining_ = made(kRemaining);
    QFont awakeControl_ = made(kAwakeControl);
    QFont warden_ = made(kWarden);
    QFont result_ = made(kResult);
    QFont tip_ = made(kTip);
};

} // namespace korvel
