import QtQuick
import Korvel

// One part of the popover, padded at its sides.
Column {
    // What a screen reader says of all of it; empty: of the lines in it alone.
    property string sentence

    readonly property real innerWidth: width - leftPadding - rightPadding

    width: Theme.popoverWidth
    leftPadding: Theme.sidePadding
    rightPadding: Theme.sidePadding

    Accessible.ignored: sentence === ""
    Accessible.name: sentence
    Accessible.role: Accessible.Grouping
}
