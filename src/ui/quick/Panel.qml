pragma ComponentBehavior: Bound

import QtQuick
import Korvel

// A ground with round corners and a border inside its edges. Only its ends are pictures: one of the
// whole would have to be kept for as long as it is shown.
Item {
    id: panel

    property color colour
    property color borderColour
    property real borderWidth
    property real radius

    // On whole pixels of the screen, as the window is.
    readonly property real rightEdge: Theme.grid.place(width)
    readonly property real bottomEdge: Theme.grid.place(height)

    // Tall enough for the round corners and the border.
    readonly property real endHeight: Theme.grid.holding(Math.max(radius, borderWidth) + 1)

    component End: Plate {
        width: panel.rightEdge
        height: panel.endHeight
        borderColour: panel.borderColour
        borderWidth: panel.borderWidth
        colour: panel.colour
        radius: panel.radius
    }

    component Side: Plate {
        objectName: "side"
        y: panel.endHeight
        width: panel.borderWidth
        height: panel.bottomEdge - 2 * panel.endHeight
        colour: panel.borderColour
    }

    // Qt Quick's own rectangle is of whole logical pixels; it reaches under the ends.
    Rectangle {
        objectName: "ground"
        y: Math.floor(panel.endHeight) - 1
        width: panel.width
        height: Math.floor(panel.bottomEdge - panel.endHeight) + 1 - y
        color: panel.colour
    }

    Side {}
    Side {
        x: panel.rightEdge - width
    }
    End {
        shape: Qt.rect(0, 0, width, 2 * height)
    }
    End {
        y: panel.bottomEdge - height
        shape: Qt.rect(0, -height, width, 2 * height)
    }
}
