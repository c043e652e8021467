import QtQuick
import Korvel

// Something is under way whose end is not known. It turns for as long as it can be seen, where changes
// may be seen to happen.
Dial {
    id: spinner

    implicitWidth: Theme.spinnerSize
    implicitHeight: Theme.spinnerSize
    colour: Inks.fills.of("secondary")
    fraction: Theme.spinnerArc
    lineWidth: Theme.spinnerLineWidth
    trackColour: Inks.texts.track(Theme.dialTrackOpacity)

    NumberAnimation on start {
        duration: Theme.spinnerTurn
        from: 0
        to: 1
        loops: Animation.Infinite
        running: Theme.moves && spinner.visible && spinner.Window.visibility !== Window.Hidden
    }
}
