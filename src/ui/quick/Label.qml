import QtQuick

// Plain text on one line, cut with an ellipsis where it is too long; whole pixels high, so that what
// stands below keeps to the grid.
Text {
    height: Math.ceil(implicitHeight)
    elide: Text.ElideRight
    horizontalAlignment: Text.AlignLeft
    maximumLineCount: 1
    textFormat: Text.PlainText
    Accessible.ignored: true
}
