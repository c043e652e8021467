import QtQuick
import Korvel

// A line across the popover, as thin as the screen can draw it, and the room of a border.
Item {
    objectName: "divider"

    implicitWidth: Theme.popoverWidth
    implicitHeight: Theme.borderWidth

    Plate {
        objectName: "line"
        width: parent.width
        height: 1 / Theme.grid.ratio
        colour: Inks.texts.track(Theme.dividerOpacity)
    }
}
