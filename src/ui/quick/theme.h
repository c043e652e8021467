#pragma once

#include <QFont>
#include <QLocale>
#include <QObject>
#include <QVariant>
#include <QtQmlIntegration>

#include "ui/content/popover_fonts.h"
#include "ui/content/popover_sizes.h"
#include "ui/quick/pixel_grid.h"

class QJSEngine;
class QQmlEngine;

namespace korvel {

/// The sizes and fonts of the popover, by the names that the views know them by: for one QML
/// engine, at the scale of the screen that its popover is on. Lengths are whole pixels of that
/// screen, so that sums of them are too.
class Theme : public QObject,
              private PopoverLengths,
              private PopoverMarkSizes,
              private PopoverConstants,
              private PopoverFonts {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(korvel::PixelGrid grid READ grid NOTIFY changed FINAL)
    /// How many times its usual size text has, and all that is laid out with it.
    Q_PROPERTY(qreal textScale READ textScale NOTIFY changed FINAL)
    /// Whether a change may be seen to happen: nothing is animated where the user wants it still.
    Q_PROPERTY(bool moves READ moves WRITE setMoves NOTIFY movesChanged FINAL)
    /// Whether the views are laid out from right to left, as the language of the user's system is.
    Q_PROPERTY(bool mirrored READ mirrored WRITE setMirrored NOTIFY mirroredChanged FINAL)
    Q_PROPERTY(qreal popoverWidth MEMBER popoverWidth NOTIFY changed FINAL)
    Q_PROPERTY(qreal sidePadding MEMBER sidePadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal popoverRadius MEMBER popoverRadius NOTIFY changed FINAL)
    Q_PROPERTY(qreal borderWidth MEMBER borderWidth NOTIFY changed FINAL)
    Q_PROPERTY(qreal cornerInset MEMBER cornerInset NOTIFY changed FINAL)
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
    Q_PROPERTY(qreal scrollStep MEMBER scrollStep NOTIFY changed FINAL)
    Q_PROPERTY(qreal scrollBarWidth MEMBER scrollBarWidth NOTIFY changed FINAL)
    Q_PROPERTY(qreal scrollBarPadding MEMBER scrollBarPadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal scrollBarEndPadding MEMBER scrollBarEndPadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal shortestScrollBar MEMBER kShortestScrollBar CONSTANT FINAL)
    Q_PROPERTY(qreal headerTop MEMBER headerTop NOTIFY changed FINAL)
    Q_PROPERTY(qreal headerBottom MEMBER headerBottom NOTIFY changed FINAL)
    Q_PROPERTY(qreal headerSpacing MEMBER headerSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal headerLineSpacing MEMBER headerLineSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal dialSize MEMBER dialSize NOTIFY changed FINAL)
    Q_PROPERTY(qreal dialLineWidth MEMBER dialLineWidth NOTIFY changed FINAL)
    Q_PROPERTY(int scoreAnimation MEMBER kScoreAnimation CONSTANT FINAL)
    Q_PROPERTY(qreal toggleTop MEMBER toggleTop NOTIFY changed FINAL)
    Q_PROPERTY(qreal toggleOutdent MEMBER toggleOutdent NOTIFY changed FINAL)
    Q_PROPERTY(qreal breakdownBottom MEMBER breakdownBottom NOTIFY changed FINAL)
    Q_PROPERTY(qreal factorSpacing MEMBER factorSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal factorLineSpacing MEMBER factorLineSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal pointsWidth MEMBER pointsWidth NOTIFY changed FINAL)
    Q_PROPERTY(qreal shortestFactorBar MEMBER shortestFactorBar NOTIFY changed FINAL)
    Q_PROPERTY(qreal footnoteTop MEMBER footnoteTop NOTIFY changed FINAL)
    Q_PROPERTY(qreal statusPadding MEMBER statusPadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal statusSpacing MEMBER statusSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal symbolFrame MEMBER symbolFrame NOTIFY changed FINAL)
    Q_PROPERTY(qreal rowsPadding MEMBER rowsPadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal rowsSpacing MEMBER rowsSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal rowLineSpacing MEMBER rowLineSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal rowSpacing MEMBER rowSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal captionWidth MEMBER captionWidth NOTIFY changed FINAL)
    Q_PROPERTY(qreal detailIndent MEMBER detailIndent NOTIFY changed FINAL)
    Q_PROPERTY(qreal barHeight MEMBER barHeight NOTIFY changed FINAL)
    Q_PROPERTY(qreal shortestRowBar MEMBER shortestRowBar NOTIFY changed FINAL)
    Q_PROPERTY(qreal sparkWidth MEMBER sparkWidth NOTIFY changed FINAL)
    Q_PROPERTY(qreal sparkHeight MEMBER sparkHeight NOTIFY changed FINAL)
    Q_PROPERTY(qreal percentWidth MEMBER percentWidth NOTIFY changed FINAL)
    Q_PROPERTY(qreal holdersPadding MEMBER holdersPadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal holdersTop MEMBER holdersTop NOTIFY changed FINAL)
    Q_PROPERTY(qreal holdersBottom MEMBER holdersBottom NOTIFY changed FINAL)
    Q_PROPERTY(qreal holdersOutdent MEMBER holdersOutdent NOTIFY changed FINAL)
    Q_PROPERTY(qreal holdersNoteTop MEMBER holdersNoteTop NOTIFY changed FINAL)
    Q_PROPERTY(qreal processesPadding MEMBER processesPadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal processesSpacing MEMBER processesSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal processHeight MEMBER processHeight NOTIFY changed FINAL)
    Q_PROPERTY(qreal markFrame MEMBER markFrame NOTIFY changed FINAL)
    Q_PROPERTY(qreal markSize MEMBER markSize NOTIFY changed FINAL)
    Q_PROPERTY(qreal markOpacity MEMBER kMarkOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal quitSize MEMBER quitSize NOTIFY changed FINAL)
    Q_PROPERTY(qreal quitReach MEMBER quitReach NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerTop MEMBER bannerTop NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerSide MEMBER bannerSide NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerBottom MEMBER bannerBottom NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerPadding MEMBER bannerPadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerRadius MEMBER bannerRadius NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerFillOpacity MEMBER kBannerFillOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal bannerStrokeOpacity MEMBER kBannerStrokeOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal bannerSpacing MEMBER bannerSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerLineSpacing MEMBER bannerLineSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerMark MEMBER bannerMark NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerDismissPadding MEMBER bannerDismissPadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerNoteSpacing MEMBER bannerNoteSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerNoteIndent MEMBER bannerNoteIndent NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerDot MEMBER bannerDot NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerDotTop MEMBER bannerDotTop NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerDotSpacing MEMBER bannerDotSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal bannerDotOpacity MEMBER kBannerDotOpacity CONSTANT FINAL)
    Q_PROPERTY(int bannerAnimation MEMBER kBannerAnimation CONSTANT FINAL)
    Q_PROPERTY(qreal updatePadding MEMBER updatePadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal spinnerSize MEMBER spinnerSize NOTIFY changed FINAL)
    Q_PROPERTY(qreal spinnerLineWidth MEMBER spinnerLineWidth NOTIFY changed FINAL)
    Q_PROPERTY(qreal spinnerArc MEMBER kSpinnerArc CONSTANT FINAL)
    Q_PROPERTY(int spinnerTurn MEMBER kSpinnerTurn CONSTANT FINAL)
    Q_PROPERTY(qreal keepAwakePadding MEMBER keepAwakePadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal footerPadding MEMBER footerPadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal resultPadding MEMBER resultPadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal dismissSize MEMBER dismissSize NOTIFY changed FINAL)
    Q_PROPERTY(qreal targetHeight MEMBER targetHeight NOTIFY changed FINAL)
    Q_PROPERTY(qreal targetSpacing MEMBER targetSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal capsuleHeight MEMBER capsuleHeight NOTIFY changed FINAL)
    Q_PROPERTY(qreal capsulePadding MEMBER capsulePadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal fadeHeight MEMBER fadeHeight NOTIFY changed FINAL)
    Q_PROPERTY(qreal capsuleOpacity MEMBER kCapsuleOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal capsuleOpacityHovered MEMBER kCapsuleOpacityHovered CONSTANT FINAL)
    Q_PROPERTY(qreal capsuleOpacityPressed MEMBER kCapsuleOpacityPressed CONSTANT FINAL)
    Q_PROPERTY(qreal callOpacity MEMBER kCallOpacity CONSTANT FINAL)
    Q_PROPERTY(qreal callOpacityHovered MEMBER kCallOpacityHovered CONSTANT FINAL)
    Q_PROPERTY(qreal callOpacityPressed MEMBER kCallOpacityPressed CONSTANT FINAL)
    Q_PROPERTY(qreal focusRing MEMBER focusRing NOTIFY changed FINAL)
    Q_PROPERTY(qreal focusRingStrong MEMBER focusRingStrong NOTIFY changed FINAL)
    Q_PROPERTY(qreal focusReach MEMBER focusReach NOTIFY changed FINAL)
    Q_PROPERTY(qreal focusRadius MEMBER focusRadius NOTIFY changed FINAL)
    Q_PROPERTY(qreal smallestWord MEMBER kSmallestWord CONSTANT FINAL)
    Q_PROPERTY(qreal menuWidth MEMBER menuWidth NOTIFY changed FINAL)
    Q_PROPERTY(qreal menuPadding MEMBER menuPadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal menuItemHeight MEMBER menuItemHeight NOTIFY changed FINAL)
    Q_PROPERTY(qreal menuItemRadius MEMBER menuItemRadius NOTIFY changed FINAL)
    Q_PROPERTY(qreal tipSidePadding MEMBER tipSidePadding NOTIFY changed FINAL)
    Q_PROPERTY(qreal tipPadding MEMBER tipPadding NOTIFY changed FINAL)
    Q_PROPERTY(int tipDelay MEMBER kTipDelay CONSTANT FINAL)
    Q_PROPERTY(qreal toggleSymbol MEMBER toggleSymbol NOTIFY changed FINAL)
    Q_PROPERTY(qreal calmSymbol MEMBER calmSymbol NOTIFY changed FINAL)
    Q_PROPERTY(qreal alertSymbol MEMBER alertSymbol NOTIFY changed FINAL)
    Q_PROPERTY(qreal holdersSymbol MEMBER holdersSymbol NOTIFY changed FINAL)
    Q_PROPERTY(qreal quitSymbol MEMBER quitSymbol NOTIFY changed FINAL)
    Q_PROPERTY(qreal actionSymbol MEMBER actionSymbol NOTIFY changed FINAL)
    Q_PROPERTY(qreal dismissSymbol MEMBER dismissSymbol NOTIFY changed FINAL)
    Q_PROPERTY(qreal updateSymbol MEMBER updateSymbol NOTIFY changed FINAL)
    Q_PROPERTY(qreal symbolSpacing MEMBER symbolSpacing NOTIFY changed FINAL)
    Q_PROPERTY(qreal chevronSpacing MEMBER chevronSpacing NOTIFY changed FINAL)
    Q_PROPERTY(QVariantList easeOut READ easeOut CONSTANT FINAL)
    Q_PROPERTY(QFont dialNumber MEMBER dialNumber_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont verdict MEMBER verdict_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont machineLine MEMBER machineLine_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont toggle MEMBER toggle_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont factorName MEMBER factorName_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont factorPoints MEMBER factorPoints_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont factorDetail MEMBER factorDetail_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont footnote MEMBER footnote_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont status MEMBER status_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont rowCaption MEMBER rowCaption_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont rowPercent MEMBER rowPercent_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont rowDetail MEMBER rowDetail_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont holdersButton MEMBER holdersButton_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont holderName MEMBER holderName_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont holderSize MEMBER holderSize_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont holdersNote MEMBER holdersNote_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont listCaption MEMBER listCaption_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont processName MEMBER processName_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont processSize MEMBER processSize_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont action MEMBER action_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont actionSemibold MEMBER actionSemibold_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont bannerHeading MEMBER bannerHeading_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont bannerSubline MEMBER bannerSubline_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont bannerNote MEMBER bannerNote_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont updateSmall MEMBER updateSmall_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont remaining MEMBER remaining_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont awakeControl MEMBER awakeControl_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont warden MEMBER warden_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont result MEMBER result_ NOTIFY changed FINAL)
    Q_PROPERTY(QFont tip MEMBER tip_ NOTIFY changed FINAL)

  public:
    explicit Theme(QObject* parent);

    /// For the QML engine. Follows the `DesktopStyle` and the `ScreenScale` that the engine has.
    static Theme* create(QQmlEngine* engine, QJSEngine*);

    bool moves() const { return moves_; }
    void setMoves(bool moves);
    qreal textScale() const { return textScale_; }
    /// Sets everything for text that is so many times as large as usual.
    Q_INVOKABLE void setTextScale(qreal scale);
    bool mirrored() const { return mirrored_; }
    void setMirrored(bool mirrored);
    PixelGrid grid() const { return grid_; }
    /// Sets everything for a screen with so many pixels for a logical one.
    void setPixelRatio(qreal ratio);

    /// The curve of an animation that begins at once and ends gently.
    static QVariantList easeOut() { return {0.0, 0.0, 0.58, 1.0, 1.0, 1.0}; }

  Q_SIGNALS:
    void changed();
    void movesChanged();
    void mirroredChanged();

  private:
    /// With every size as the constants have it.
    Theme() = default;
    void fit();
    static QFont made(const FontStyle& style);

    PixelGrid grid_;
    qreal textScale_ = 1;
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
