import QtQuick
import QtQuick.Window
import Korvel

// A line across the popover, as thin as the screen can draw it.
Item {
    id: divider

    implicitWidth: Theme.popoverWidth
    implicitHeight: 1

    Rectangle {
        width: divider.width
        height: 1 / Screen.devicePixelRatio
        color: Theme.track(Theme.dividerOpacity)
    }
}
