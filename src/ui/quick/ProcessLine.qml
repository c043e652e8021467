import QtQuick
import Korvel

// A process, what it holds, and the button that ends it.
Item {
    id: line

    required property processValue value
    required property font nameFont
    required property font sizeFont
    property bool marked: false

    signal quit(pid: int)

    implicitHeight: Theme.processHeight

    // A group, which screen readers say on the way to the button in it; of a list's entry some do not.
    Accessible.role: Accessible.Grouping
    Accessible.name: value.spoken

    Item {
        id: frame

        objectName: "mark"
        anchors.left: parent.left
        width: line.marked ? Theme.markFrame : 0
        height: line.height

        // A capsule as long as it is high.
        GaugeBar {
            objectName: "bullet"
            anchors.left: parent.left
            y: Theme.grid.middle(parent.height, height)
            width: Theme.markSize
            height: Theme.markSize
            colour: Inks.fills.faint("cyan", Theme.markOpacity)
            fraction: 1
            rim: Inks.rims.of("cyan")
            shortest: 0
            trackColour: "transparent"
            visible: line.marked
        }
    }

    SpokenLabel {
        objectName: "name"
        anchors {
            left: frame.right
            right: amount.left
            rightMargin: Theme.rowLineSpacing
            baseline: amount.baseline
        }
        clip: true // signs stacked on a letter would reach into the lines above and below
        color: Inks.texts.of("primary")
        font: line.nameFont
        spoken: line.value.spoken
        text: line.value.name
    }

    Digits {
        id: amount

        objectName: "size"
        anchors {
            right: parent.right
            rightMargin: Theme.quitSize - Theme.quitReach + Theme.rowLineSpacing - Theme.quitReach
        }
        y: Theme.grid.middle(parent.height, height)
        colour: Inks.texts.of("secondary")
        font: line.sizeFont
        text: line.value.size
    }

    QuitButton {
        objectName: "quit"
        anchors {
            right: parent.right
            rightMargin: -Theme.quitReach
        }
        y: Theme.grid.middle(parent.height, height)
        text: line.value.quit
        description: line.value.quitDescription
        tip: line.value.tip
        visible: line.value.canQuit
        onClicked: line.quit(line.value.pid)
    }
}
