import QtQuick
import Korvel

// A button that is a word, and its symbol where it has one.
PlainButton {
    id: button

    // What a word stands in: nothing; a quiet capsule; or one in a colour, where something awaits the user.
    enum Look { Plain, Quiet, Call }

    property int look: TextButton.Look.Plain
    property bool busy: false // a spinner stands for its symbol; it keeps the keyboard
    property string symbol
    property real symbolSize: Theme.actionSymbol
    property bool symbolBehind: false

    readonly property bool capsule: look !== TextButton.Look.Plain

    edged: look === TextButton.Look.Call
    leftInset: capsule ? 0 : -Theme.focusReach
    rightInset: capsule ? 0 : -Theme.focusReach
    topInset: capsule ? Theme.grid.middle(height, Theme.capsuleHeight) : topPadding - Theme.focusReach
    bottomInset: capsule ? height - topInset - Theme.capsuleHeight : bottomPadding - Theme.focusReach
    horizontalPadding: capsule ? Theme.capsulePadding : 0
    plateRadius: capsule ? Theme.capsuleHeight / 2 : Theme.focusRadius
    plate: {
        const shade = (rest, underPointer, pressed) => down ? pressed : hovered ? underPointer : rest;
        switch (look) {
        case TextButton.Look.Quiet:
            return Inks.texts.wash(shade(Theme.capsuleOpacity, Theme.capsuleOpacityHovered, Theme.capsuleOpacityPressed));
        case TextButton.Look.Call:
            return Qt.alpha(Inks.fills.of("cyan"), shade(Theme.callOpacity, Theme.callOpacityHovered, Theme.callOpacityPressed));
        }
        return "transparent";
    }

    contentItem: ButtonFace {
        busy: button.busy
        ink: Inks.texts.of(!button.busy && (button.capsule || button.hovered || button.down) ? "primary" : "secondary")
        symbol: button.symbol
        symbolBehind: button.symbolBehind
        symbolSize: button.symbolSize
        word: button.text
        wordFont: button.font
    }
}
