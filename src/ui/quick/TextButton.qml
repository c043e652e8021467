import QtQuick
import Korvel

// A button that is a word, and its symbol where it has one.
PlainButton {
    id: button

    property string symbol
    property real symbolSize: Theme.actionSymbol
    property bool symbolBehind: false

    contentItem: ButtonFace {
        ink: Inks.texts.of(button.enabled && (button.hovered || button.down) ? "primary" : "secondary")
        symbol: button.symbol
        symbolBehind: button.symbolBehind
        symbolSize: button.symbolSize
        word: button.text
        wordFont: button.font
    }
}
