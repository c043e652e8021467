import QtQuick
import Korvel

// Turns for as long as it can be seen: something is under way whose end is not known.
Dial {
    id: spinner

    implicitWidth: Theme.spinnerSize
    implicitHeight: Theme.spinnerSize
    colour: Inks.fills.of("secondary")
    fraction: Theme.spinnerArc
    lineWidth: Theme.spinnerLineWidth
    trackColour: Inks.texts.track(Theme.dialTrackOpacity)

    NumberAnimation on rotation {
        duration: Theme.spinnerTurn
        from: 0
        to: 360
        loops: Animation.Infinite
        running: spinner.visible && spinner.Window.visibility !== Window.Hidden
    }
}
