#pragma once

namespace korvel {

/// What the popover's views are laid out by, in logical pixels at the usual size of text. `Theme`
/// brings each to whole pixels of the screen.
struct PopoverLengths {
    // The panel.
    double popoverWidth = 340;
    double sidePadding = 16;
    double popoverRadius = 10;
    double borderWidth = 1;
    double cornerInset = 3; ///< where the corner's arc has left the edge by no more

    // Scrolling.
    double scrollStep = 40; ///< of an arrow key
    double scrollBarWidth = 10;
    double scrollBarPadding = 3;
    double scrollBarEndPadding = 6;
    double fadeHeight = 16; ///< of what is about to scroll out of sight

    // The header.
    double headerTop = 14;
    double headerBottom = 12;
    double headerSpacing = 14;
    double headerLineSpacing = 2;
    double dialSize = 56;
    double toggleTop = 1;
    double toggleOutdent = 1; ///< the chevron does not fill its box

    // The breakdown.
    double breakdownBottom = 12;
    double factorSpacing = 7;
    double factorLineSpacing = 2;
    double pointsWidth = 26;
    double shortestFactorBar = 2;
    double footnoteTop = 1;

    // The status lines.
    double statusPadding = 12;
    double statusSpacing = 6;
    double symbolFrame = 14; ///< where the symbols of sentences are centred

    // The metrics.
    double rowsPadding = 11;
    double rowsSpacing = 10;
    double rowLineSpacing = 8; ///< between the pieces of a line
    double rowSpacing = 4;     ///< between the line and what is under it
    double captionWidth = 52;
    double detailIndent = 60;
    double barHeight = 4;
    double shortestRowBar = 3; ///< even 0 % shows a stub
    double sparkWidth = 44;
    double sparkHeight = 14;
    double percentWidth = 32;

    // The processes.
    double holdersPadding = 16;
    double holdersTop = 2;
    double holdersBottom = 6;
    double holdersOutdent = 2; ///< the chevron does not fill its box
    double holdersNoteTop = 2;
    double processesPadding = 11;
    double processesSpacing = 4;
    double processHeight = 24;
    double markFrame = 12;
    double markSize = 6;
    double quitSize = 24;
    double quitReach = 6; ///< how far the button's edge lies outside its symbol

    // The greeting: a card, which brings its own distance from the popover's edges.
    double bannerTop = 12;
    double bannerSide = 14;
    double bannerBottom = 12;
    double bannerPadding = 11;
    double bannerRadius = 9;
    double bannerSpacing = 9;
    double bannerLineSpacing = 1;
    double bannerMark = 22;
    double bannerDismissPadding = 4;
    double bannerNoteSpacing = 4;
    double bannerNoteIndent = 1;
    double bannerDotTop = 5;
    double bannerDotSpacing = 6;

    // The lines at the bottom.
    double updatePadding = 10;
    double spinnerSize = 12;
    double keepAwakePadding = 9;
    double footerPadding = 10;
    double resultPadding = 10;
    double dismissSize = 16;

    // Buttons, tips and menus.
    double targetHeight = 24; ///< of what takes a click, at the least
    double targetSpacing = 8; ///< between two of them in a line, at the least
    double capsuleHeight = 20;
    double capsulePadding = 9;
    double focusRing = 1.5;
    double focusRingStrong = 3; ///< in high contrast
    double focusReach = 3;
    double focusRadius = 5;
    double menuWidth = 140;
    double menuPadding = 4;
    double menuItemHeight = 24;
    double menuItemRadius = 3;
    double tipSidePadding = 8;
    double tipPadding = 5;

    // Beside symbols.
    double symbolSpacing = 6;
    double chevronSpacing = 4;
};

/// The sizes of what is drawn smooth at any size, in logical pixels at the usual size of text.
struct PopoverMarkSizes {
    double dialLineWidth = 5;
    double spinnerLineWidth = 1.5;
    double bannerDot = 3.5;

    // The symbols, as of the letters beside them.
    double toggleSymbol = 7;
    double calmSymbol = 11;
    double alertSymbol = 10;
    double holdersSymbol = 8;
    double quitSymbol = 10;
    double actionSymbol = 11;
    double dismissSymbol = 9;
    double updateSymbol = 12;
};

/// What is the same at any size: opacities beside the primary colour, shares, times.
struct PopoverConstants {
    // How faint a track or a line is beside the primary colour.
    static constexpr double kDialTrackOpacity = 0.1;
    static constexpr double kRowTrackOpacity = 0.08;
    static constexpr double kFactorTrackOpacity = 0.07;
    static constexpr double kDividerOpacity = 0.1;
    static constexpr double kBorderOpacity = 0.18;
    static constexpr double kHighlightOpacity = 0.12;
    static constexpr double kCapsuleOpacity = 0.08;
    static constexpr double kCapsuleOpacityHovered = 0.14;
    static constexpr double kCapsuleOpacityPressed = 0.2;
    static constexpr double kCallOpacity = 0.22; ///< of cyan, under what awaits the user
    static constexpr double kCallOpacityHovered = 0.32;
    static constexpr double kCallOpacityPressed = 0.42;
    static constexpr double kScrollBarOpacity = 0.22;
    static constexpr double kScrollBarOpacityActive = 0.45;

    static constexpr double kShadowOpacity = 0.32;
    static constexpr double kShadowOpacityDark = 0.6;
    static constexpr double kMarkOpacity = 0.5;
    static constexpr double kBannerFillOpacity = 0.09;
    static constexpr double kBannerStrokeOpacity = 0.28;
    static constexpr double kBannerDotOpacity = 0.7;

    static constexpr double kShortestScrollBar = 0.1; ///< share of its height
    static constexpr double kSpinnerArc = 0.3;        ///< share of the circle
    /// The share of a button's size that its word shrinks to before it is cut.
    static constexpr double kSmallestWord = 0.8;

    // Milliseconds.
    static constexpr int kScoreAnimation = 350;
    static constexpr int kBannerAnimation = 200;
    static constexpr int kSpinnerTurn = 1000; ///< for one turn
    static constexpr int kTipDelay = 600;
};

} // namespace korvel
