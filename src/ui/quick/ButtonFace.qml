import QtQuick
import Korvel

// A word, behind or before its symbol where it has one, or behind a spinner in its place.
Item {
    id: face

    required property bool busy
    required property string symbol
    required property real symbolSize
    required property bool symbolBehind
    required property color ink
    required property font wordFont
    required property string word

    implicitWidth: Theme.grid.holding(words.implicitWidth) + mark.reach
    implicitHeight: words.height

    Symbol {
        id: mark

        readonly property real reach: visible || face.busy ? width + Theme.chevronSpacing : 0

        objectName: "sign"
        x: face.symbolBehind !== Theme.mirrored ? face.width - width : 0
        y: Theme.grid.middle(face.height, height)
        bold: face.symbolBehind
        colour: face.ink
        name: face.symbol
        size: face.symbolSize
        visible: face.symbol !== "" && !face.busy
    }

    Spinner {
        x: mark.x + Theme.grid.middle(mark.width, width)
        y: Theme.grid.middle(face.height, height)
        visible: face.busy
    }

    Label {
        id: words

        objectName: "word"
        x: face.symbolBehind !== Theme.mirrored ? 0 : mark.reach
        width: face.width - mark.reach
        color: face.ink
        font: face.wordFont
        fontSizeMode: Text.HorizontalFit // shrinks first, and is cut where that is not enough
        minimumPointSize: Math.floor(Theme.smallestWord * face.wordFont.pointSize)
        text: face.word
    }
}
