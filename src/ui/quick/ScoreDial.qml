import QtQuick
import Korvel

// The score as a number within an arc. A change of the score is seen to happen.
Item {
    id: dial

    required property headerValue value

    // False while the popover is filled before it opens: what changes then is not to move or fade.
    property bool animated: true

    implicitWidth: Theme.dialSize
    implicitHeight: Theme.dialSize

    Accessible.role: Accessible.StaticText
    Accessible.name: value.spoken

    Dial {
        // The stroke lies on the circle, half of it outside.
        readonly property real overscan: Theme.grid.holding(lineWidth / 2)

        objectName: "arc"
        anchors {
            fill: parent
            margins: -overscan
        }
        diameter: dial.width
        colour: Inks.fills.of(dial.value.colour)
        rim: Inks.rims.of(dial.value.colour)
        goal: dial.value.score / 100
        fraction: goal
        lineWidth: Theme.dialLineWidth
        trackColour: Inks.texts.track(Theme.dialTrackOpacity)

        Behavior on fraction {
            enabled: dial.animated

            NumberAnimation {
                duration: Theme.scoreAnimation
                easing.type: Easing.BezierSpline
                easing.bezierCurve: Theme.easeOut
            }
        }
    }

    // Each digit has its own width, so that no gap stands beside a 1. What another number moves is seen to move.
    Label {
        // Moved by whole pixels of the screen: between two there is nothing to be seen of it.
        property real place: Theme.grid.middle(parent.width, implicitWidth)

        objectName: "number"
        x: Theme.grid.place(place)
        y: Theme.grid.middle(parent.height, height)
        color: Inks.texts.of(dial.value.colour)
        elide: Text.ElideNone
        font: Theme.dialNumber
        text: dial.value.number

        Behavior on place {
            enabled: dial.animated

            NumberAnimation {
                duration: Theme.scoreAnimation
                easing.type: Easing.BezierSpline
                easing.bezierCurve: Theme.easeOut
            }
        }
    }
}
