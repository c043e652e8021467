pragma ComponentBehavior: Bound

import QtQuick
import Korvel

// What holds the swap: a button that looks for it, then the processes that were found.
Column {
    id: block

    required property PopoverBridge content

    readonly property real innerWidth: width - leftPadding - rightPadding

    topPadding: Theme.holdersTop
    bottomPadding: Theme.holdersBottom
    leftPadding: Theme.holdersPadding
    rightPadding: Theme.holdersPadding

    Item {
        width: block.innerWidth
        height: button.lineHeight
        visible: button.text !== ""

        PlainButton {
            id: button

            readonly property color ink: Inks.texts.of(hovered || down ? "primary" : "secondary")

            objectName: "findSwapHolders"
            anchors.left: parent.left
            y: Theme.grid.middle(parent.height, height)
            text: block.content.swapBlock.button
            description: block.content.swapBlock.buttonDescription
            onClicked: block.content.findSwapHolders()

            contentItem: Row {
                leftPadding: Theme.mirrored ? 0 : -Theme.holdersOutdent
                rightPadding: -Theme.holdersOutdent - leftPadding
                spacing: Theme.chevronSpacing

                Symbol {
                    objectName: "chevron"
                    y: Theme.grid.middle(parent.height, height)
                    bold: true
                    colour: block.content.swapBlock.scanning ? "transparent" : button.ink
                    mirrored: Theme.mirrored
                    name: "chevron.right"
                    size: Theme.holdersSymbol

                    Spinner {
                        width: parent.width
                        height: parent.height
                        visible: block.content.swapBlock.scanning
                    }
                }

                Label {
                    objectName: "word"
                    color: button.ink
                    font: Theme.holdersButton
                    text: button.text
                }
            }
        }
    }

    Repeater {
        model: block.content.swapHolders

        ProcessLine {
            width: block.innerWidth
            nameFont: Theme.holderName
            sizeFont: Theme.holderSize
            onQuit: pid => block.content.quitSwapHolder(pid)
        }
    }

    Repeater {
        model: block.content.swapBlock.note === "" ? 0 : 1

        SpokenLabel {
            objectName: "note"
            width: block.innerWidth
            color: Inks.texts.of("tertiary")
            font: Theme.holdersNote
            maximumLineCount: 2
            text: block.content.swapBlock.note
            topPadding: Theme.holdersNoteTop
            wrapMode: Text.Wrap
        }
    }
}
