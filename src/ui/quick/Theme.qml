pragma Singleton

import QtQuick
import Korvel

// Every size of the popover, in logical pixels, and its fonts.
QtObject {
    readonly property real popoverWidth: 340
    readonly property real sidePadding: 16
    readonly property real popoverRadius: 10
    readonly property real cornerInset: 3 // where the corner's arc has left the edge by no more
    readonly property real shadowOpacity: 0.32
    readonly property real shadowOpacityDark: 0.6

    // How faint a track or a line is beside the primary colour.
    readonly property real dialTrackOpacity: 0.1
    readonly property real rowTrackOpacity: 0.08
    readonly property real factorTrackOpacity: 0.07
    readonly property real dividerOpacity: 0.1
    readonly property real borderOpacity: 0.18

    readonly property real headerTop: 14
    readonly property real headerBottom: 12
    readonly property real headerSpacing: 14
    readonly property real headerLineSpacing: 2
    readonly property real dialSize: 56
    readonly property real dialLineWidth: 5
    readonly property int scoreAnimation: 350 // milliseconds

    readonly property real toggleTop: 1
    readonly property real breakdownBottom: 12
    readonly property real factorSpacing: 7
    readonly property real footnoteTop: 1
    readonly property real pointsWidth: 26
    readonly property real shortestFactorBar: 2

    readonly property real statusPadding: 12
    readonly property real statusSpacing: 6

    readonly property real rowsPadding: 11
    readonly property real rowsSpacing: 10
    readonly property real rowLineSpacing: 8 // between the pieces of a line
    readonly property real rowSpacing: 4 // between the line and what is under it
    readonly property real captionWidth: 52
    readonly property real detailIndent: 60
    readonly property real barHeight: 4
    readonly property real shortestRowBar: 3
    readonly property real sparkWidth: 44
    readonly property real sparkHeight: 14
    readonly property real percentWidth: 32

    readonly property real holdersPadding: 16
    readonly property real holdersTop: 2
    readonly property real holdersBottom: 6

    readonly property real processesPadding: 11
    readonly property real processesSpacing: 4
    readonly property real processHeight: 20
    readonly property real markFrame: 12
    readonly property real markSize: 6
    readonly property real markOpacity: 0.5
    readonly property real quitSize: 20
    readonly property real quitReach: 4 // how far the button's edge lies outside its symbol

    // The card brings its own distance from the popover's edges.
    readonly property real bannerTop: 12
    readonly property real bannerSide: 14
    readonly property real bannerBottom: 12
    readonly property real bannerPadding: 11
    readonly property real bannerRadius: 9
    readonly property real bannerFillOpacity: 0.09
    readonly property real bannerStrokeOpacity: 0.28
    readonly property real bannerSpacing: 9
    readonly property real bannerLineSpacing: 1
    readonly property real bannerMark: 22
    readonly property real bannerDismissPadding: 4
    readonly property real bannerNoteSpacing: 4
    readonly property real bannerNoteIndent: 1
    readonly property real bannerDot: 3.5
    readonly property real bannerDotTop: 5
    readonly property real bannerDotSpacing: 6
    readonly property real bannerDotOpacity: 0.7
    readonly property int bannerAnimation: 200 // milliseconds

    readonly property real updatePadding: 10
    readonly property real updateFrame: 14 // where the symbols are centred
    readonly property real spinnerSize: 12
    readonly property real spinnerLineWidth: 1.5
    readonly property int spinnerTurn: 1000 // milliseconds

    readonly property real keepAwakePadding: 9
    readonly property real footerPadding: 10
    readonly property real footerSpacing: 8
    readonly property real resultPadding: 10
    readonly property real dismissSize: 12
    readonly property real menuWidth: 140
    readonly property real menuPadding: 4
    readonly property real menuItemHeight: 22
    readonly property real highlightOpacity: 0.12

    readonly property real focusRing: 1.5
    readonly property real focusReach: 3
    readonly property real focusRadius: 5

    readonly property font dialNumber: Inks.font(20, Font.Bold)
    readonly property font verdict: Inks.font(17, Font.DemiBold)
    readonly property font machineLine: Inks.font(9.5, Font.Normal)
    readonly property font toggle: Inks.font(9.5, Font.Normal)
    readonly property font factorName: Inks.monospaced(10, Font.Normal)
    readonly property font factorPoints: Inks.font(9.5, Font.Medium)
    readonly property font factorDetail: Inks.monospaced(9, Font.Normal)
    readonly property font footnote: Inks.font(8.5, Font.Normal)
    readonly property font status: Inks.font(11, Font.Normal)
    readonly property font rowCaption: Inks.monospaced(9.5, Font.DemiBold)
    readonly property font rowPercent: Inks.monospaced(10, Font.Bold)
    readonly property font rowDetail: Inks.monospaced(9.5, Font.Normal)
    readonly property font holdersButton: Inks.font(10, Font.Normal)
    readonly property font holderName: Inks.font(10.5, Font.Normal)
    readonly property font holderSize: Inks.font(9.5, Font.Medium)
    readonly property font holdersNote: Inks.font(9, Font.Normal)
    readonly property font listCaption: Inks.font(8.5, Font.DemiBold)
    readonly property font processName: Inks.font(11, Font.Normal)
    readonly property font processSize: Inks.font(10, Font.Medium)
    readonly property font action: Inks.font(11, Font.Normal)
    readonly property font actionSemibold: Inks.font(11, Font.DemiBold)
    readonly property font bannerHeading: Inks.font(12.5, Font.DemiBold)
    readonly property font bannerSubline: Inks.font(10.5, Font.Normal)
    readonly property font bannerNote: Inks.font(11, Font.Normal)
    readonly property font updateSmall: Inks.font(10, Font.Normal)
    readonly property font remaining: Inks.font(9, Font.Normal)
    readonly property font awakeControl: Inks.font(10, Font.Normal)
    readonly property font warden: Inks.font(9.5, Font.Normal)
    readonly property font result: Inks.monospaced(9.5, Font.Normal)
    readonly property font tip: Inks.font(10.5, Font.Normal)

    // The symbols' sizes, as of the letters beside them.
    readonly property real toggleSymbol: 7
    readonly property real calmSymbol: 11
    readonly property real alertSymbol: 10
    readonly property real holdersSymbol: 8
    readonly property real quitSymbol: 10
    readonly property real actionSymbol: 11
    readonly property real dismissSymbol: 9
    readonly property real updateSymbol: 12
    readonly property real symbolSpacing: 6
    readonly property real chevronSpacing: 4

    function track(opacity: real): color {
        return Qt.alpha(Inks.texts.of("primary"), opacity);
    }
}
