import QtQuick
import Korvel

// Plain text on one line, cut with an ellipsis where it is too long; whole pixels of the screen high, so that
// what stands below keeps to the grid.
Text {
    property real indent: 0 // from where lines begin

    height: Theme.grid.holding(implicitHeight)
    leftPadding: Theme.mirrored ? 0 : indent
    rightPadding: Theme.mirrored ? indent : 0
    elide: Text.ElideRight
    horizontalAlignment: Text.AlignLeft
    maximumLineCount: 1
    textFormat: Text.PlainText
    Accessible.ignored: true
}
