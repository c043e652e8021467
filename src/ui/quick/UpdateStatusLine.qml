pragma ComponentBehavior: Bound

import QtQuick
import Korvel

// The state of an update, and the button for what can be done about it.
Section {
    id: section

    required property PopoverBridge content

    sentence: content.update.control !== "" ? content.update.words : ""
    bottomPadding: Theme.updatePadding
    topPadding: Theme.updatePadding

    Item {
        id: line

        objectName: "update"
        width: section.innerWidth
        implicitHeight: Math.max(words.height, control.visible ? control.lineHeight : 0)

        FontMetrics {
            id: metrics

            font: words.font
        }

        Symbol {
            id: mark

            objectName: "symbol"
            anchors.left: parent.left
            anchors.leftMargin: Theme.grid.middle(Theme.symbolFrame, width)
            y: words.y + Theme.grid.middle(metrics.height, height) // beside the first line
            colour: Inks.fills.of(section.content.update.colour)
            rim: Inks.rims.of(section.content.update.colour)
            name: section.content.update.symbol
            size: section.content.update.small ? Theme.calmSymbol : Theme.updateSymbol
            visible: name !== ""
        }

        Spinner {
            objectName: "spinner"
            anchors.left: parent.left
            anchors.leftMargin: Theme.grid.middle(Theme.symbolFrame, width)
            y: Theme.grid.middle(parent.height, height)
            visible: section.content.update.spinning
        }

        SpokenLabel {
            id: words

            objectName: "words"
            anchors {
                left: parent.left
                leftMargin: bar.visible ? 0 : Theme.symbolFrame + Theme.symbolSpacing
            }
            y: Theme.grid.middle(parent.height, height)
            width: bar.visible ? Theme.grid.holding(implicitWidth) : line.width - anchors.leftMargin - (control.visible ? control.width + Theme.targetSpacing : 0)
            color: Inks.texts.of("primary")
            font: section.content.update.small ? Theme.updateSmall : section.content.update.semibold ? Theme.actionSemibold : Theme.action
            maximumLineCount: 4 // what went wrong may take a few words
            text: section.content.update.words
            wrapMode: bar.visible ? Text.NoWrap : Text.Wrap
        }

        GaugeBar {
            id: bar

            objectName: "progress"
            anchors {
                left: words.right
                leftMargin: Theme.rowLineSpacing
                right: parent.right
            }
            y: Theme.grid.middle(parent.height, height)
            height: Theme.barHeight
            colour: Inks.fills.of("cyan")
            rim: Inks.rims.of("cyan")
            fraction: section.content.update.progress
            shortest: 0
            mirrored: Theme.mirrored
            trackColour: Inks.texts.track(Theme.rowTrackOpacity)
            visible: section.content.update.progressing
        }

        TextButton {
            id: control

            objectName: "updateControl"
            anchors.right: parent.right
            y: Theme.grid.middle(parent.height, height)
            font: Theme.action
            look: TextButton.Look.Call
            text: section.content.update.control
            visible: text !== ""
            onClicked: section.content.pressUpdate()
        }
    }
}
