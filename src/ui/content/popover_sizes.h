#pragma once

namespace korvel {

/// Every size of the popover, in logical pixels where nothing else is said: what its views are laid
/// out by.
struct PopoverSizes {
    // The panel.
    static constexpr double kPopoverWidth = 340;
    static constexpr double kSidePadding = 16;
    static constexpr double kPopoverRadius = 10;
    static constexpr double kCornerInset =
        3; ///< where the corner's arc has left the edge by no more
    static constexpr double kShadowOpacity = 0.32;
    static constexpr double kShadowOpacityDark = 0.6;

    // How faint a track or a line is beside the primary colour.
    static constexpr double kDialTrackOpacity = 0.1;
    static constexpr double kRowTrackOpacity = 0.08;
    static constexpr double kFactorTrackOpacity = 0.07;
    static constexpr double kDividerOpacity = 0.1;
    static constexpr double kBorderOpacity = 0.18;
    static constexpr double kHighlightOpacity = 0.12;
    static constexpr double kScrollBarOpacity = 0.22;
    static constexpr double kScrollBarOpacityActive = 0.45;

    // Scrolling.
    static constexpr double kScrollStep = 40;   ///< of an arrow key
    static constexpr double kRevealMargin = 12; ///< around what is brought into sight
    static constexpr double kScrollBarWidth = 10;
    static constexpr double kScrollBarPadding = 3;
    static constexpr double kScrollBarEndPadding = 6;
    static constexpr double kShortestScrollBar = 0.1; ///< share of its height

    // The header.
    static constexpr double kHeaderTop = 14;
    static constexpr double kHeaderBottom = 12;
    static constexpr double kHeaderSpacing = 14;
    static constexpr double kHeaderLineSpacing = 2;
    static constexpr double kDialSize = 56;
    static constexpr double kDialLineWidth = 5;
    static constexpr int kScoreAnimation = 350; ///< milliseconds
    static constexpr double kToggleTop = 1;
    static constexpr double kToggleOutdent = 1; ///< the chevron does not fill its box

    // The breakdown.
    static constexpr double kBreakdownBottom = 12;
    static constexpr double kFactorSpacing = 7;
    static constexpr double kFactorLineSpacing = 2;
    static constexpr double kPointsWidth = 26;
    static constexpr double kShortestFactorBar = 2;
    static constexpr double kFootnoteTop = 1;

    // The status lines.
    static constexpr double kStatusPadding = 12;
    static constexpr double kStatusSpacing = 6;
    static constexpr double kSymbolFrame = 14; ///< where the symbols of sentences are centred

    // The metrics.
    static constexpr double kRowsPadding = 11;
    static constexpr double kRowsSpacing = 10;
    static constexpr double kRowLineSpacing = 8; ///< between the pieces of a line
    static constexpr double kRowSpacing = 4;     ///< between the line and what is under it
    static constexpr double kCaptionWidth = 52;
    static constexpr double kDetailIndent = 60;
    static constexpr double kBarHeight = 4;
    static constexpr double kShortestRowBar = 3; ///< even 0 % shows a stub
    static constexpr double kSparkWidth = 44;
    static constexpr double kSparkHeight = 14;
    static constexpr double kPercentWidth = 32;

    // The processes.
    static constexpr double kHoldersPadding = 16;
    static constexpr double kHoldersTop = 2;
    static constexpr double kHoldersBottom = 6;
    static constexpr double kHoldersOutdent = 2; ///< the chevron does not fill its box
    static constexpr double kHoldersNoteTop = 2;
    static constexpr double kProcessesPadding = 11;
    static constexpr double kProcessesSpacing = 4;
    static constexpr double kProcessHeight = 20;
    static constexpr double kMarkFrame = 12;
    static constexpr double kMarkSize = 6;
    static constexpr double kMarkOpacity = 0.5;
    static constexpr double kQuitSize = 20;
    static constexpr double kQuitReach = 4; ///< how far the button's edge lies outside its symbol

    // The greeting: a card, which brings its own distance from the popover's edges.
    static constexpr double kBannerTop = 12;
    static constexpr double kBannerSide = 14;
    static constexpr double kBannerBottom = 12;
    static constexpr double kBannerPadding = 11;
    static constexpr double kBannerRadius = 9;
    static constexpr double kBannerFillOpacity = 0.09;
    static constexpr double kBannerStrokeOpacity = 0.28;
    static constexpr double kBannerSpacing = 9;
    static constexpr double kBannerLineSpacing = 1;
    static constexpr double kBannerMark = 22;
    static constexpr double kBannerDismissPadding = 4;
    static constexpr double kBannerNoteSpacing = 4;
    static constexpr double kBannerNoteIndent = 1;
    static constexpr double kBannerDot = 3.5;
    static constexpr double kBannerDotTop = 5;
    static constexpr double kBannerDotSpacing = 6;
    static constexpr double kBannerDotOpacity = 0.7;
    static constexpr int kBannerAnimation = 200; ///< milliseconds

    // The lines at the bottom.
    static constexpr double kUpdatePadding = 10;
    static constexpr double kSpinnerSize = 12;
    static constexpr double kSpinnerLineWidth = 1.5;
    static constexpr double kSpinnerArc = 0.3; ///< share of the circle
    static constexpr int kSpinnerTurn = 1000;  ///< milliseconds
    static constexpr double kKeepAwakePadding = 9;
    static constexpr double kFooterPadding = 10;
    static constexpr double kFooterSpacing = 8;
    static constexpr double kResultPadding = 10;
    static constexpr double kDismissSize = 12;

    // Buttons, tips and menus.
    static constexpr double kFocusRing = 1.5;
    static constexpr double kFocusRingStrong = 3; ///< in high contrast
    static constexpr double kFocusReach = 3;
    static constexpr double kFocusRadius = 5;
    static constexpr double kSmallestWord =
        0.8; ///< share of a button's size that its word shrinks to before it is cut
    static constexpr double kMenuWidth = 140;
    static constexpr double kMenuPadding = 4;
    static constexpr double kMenuItemHeight = 22;
    static constexpr double kMenuItemRadius = 3;
    static constexpr double kTipSidePadding = 8;
    static constexpr double kTipPadding = 5;
    static constexpr int kTipDelay = 600; ///< milliseconds

    // The symbols' sizes, as of the letters beside them.
    static constexpr double kToggleSymbol = 7;
    static constexpr double kCalmSymbol = 11;
    static constexpr double kAlertSymbol = 10;
    static constexpr double kHoldersSymbol = 8;
    static constexpr double kQuitSymbol = 10;
    static constexpr double kActionSymbol = 11;
    static constexpr double kDismissSymbol = 9;
    static constexpr double kUpdateSymbol = 12;
    static constexpr double kSymbolSpacing = 6;
    static constexpr double kChevronSpacing = 4;
};

} // namespace korvel
