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
        objectName: "arc"
        anchors.fill: parent
        colour: Inks.fills.of(dial.value.colour)
        rim: Inks.rims.of(dial.value.colour)
        fraction: dial.value.score / 100
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

    Digits {
        objectName: "number"
        x: Theme.grid.middle(parent.width, width)
        y: Theme.grid.middle(parent.height, height)
        colour: Inks.texts.of(dial.value.colour)
        font: Theme.dialNumber
        text: dial.value.number
    }
}
