import QtQuick
import Korvel

// One part of the popover, padded at its sides.
Column {
    readonly property real innerWidth: width - leftPadding - rightPadding

    width: Theme.popoverWidth
    leftPadding: Theme.sidePadding
    rightPadding: Theme.sidePadding
}
