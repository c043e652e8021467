import QtQuick
import Korvel

// One sentence about the machine's state, behind its symbol.
Item {
    id: line

    required property statusValue value

    implicitHeight: Math.max(mark.height, label.height)

    Accessible.role: Accessible.StaticText
    Accessible.name: value.words

    FontMetrics {
        id: metrics

        font: Theme.status
    }

    Symbol {
        id: mark

        objectName: "symbol"
        // Centred in a fixed place, so that the sentences begin on one line; beside the first line.
        anchors.left: parent.left
        anchors.leftMargin: Theme.grid.middle(Theme.symbolFrame, width)
        y: Math.max(0, Theme.grid.middle(metrics.height, height))
        colour: Inks.fills.of(line.value.colour)
        rim: Inks.rims.of(line.value.colour)
        name: line.value.symbol
        size: line.value.textStyle === "primary" ? Theme.alertSymbol : Theme.calmSymbol
    }

    Label {
        id: label

        objectName: "words"
        anchors {
            left: parent.left
            leftMargin: Theme.symbolFrame + Theme.symbolSpacing
            right: parent.right
        }
        color: Inks.texts.of(line.value.textStyle)
        font: Theme.status
        maximumLineCount: 8 // a sentence may name a process, at any length
        text: line.value.words
        wrapMode: Text.Wrap
    }
}
