import QtQuick
import Korvel

// Whether the watchdog runs, the button that clears disk space, and the way out.
Section {
    id: section

    required property PopoverBridge content

    sentence: content.spoken.footer
    bottomPadding: Theme.footerPadding
    topPadding: Theme.footerPadding

    Item {
        objectName: "footer"
        width: section.innerWidth
        implicitHeight: quit.lineHeight

        SpokenLabel {
            id: warden

            objectName: "warden"
            anchors.left: parent.left
            y: Theme.grid.middle(parent.height, height)
            color: Inks.texts.of("tertiary")
            font: Theme.warden
            text: section.content.footer.warden
            Accessible.description: section.content.footer.wardenTip

            HoverHandler {
                id: pointer
            }

            TipLoader {
                target: warden
                tip: section.content.footer.wardenTip
                wanted: pointer.hovered
            }
        }

        // Where the button at rest is centred between the watchdog and the way out; a longer word begins there
        // as well, as far as there is room for it.
        Row {
            readonly property real room: section.innerWidth - quit.width - warden.width - 2 * Theme.targetSpacing
            readonly property real begin: Math.max(0, Math.min((room - rest.implicitWidth) / 2, room - width))
            readonly property real start: Theme.grid.before(warden.width + Theme.targetSpacing + begin)

            x: Theme.mirrored ? section.innerWidth - start - width : start
            y: Theme.grid.middle(parent.height, height)
            spacing: Theme.targetSpacing

            TextButton {
                id: rest

                font: Theme.action
                symbol: "trash"
                text: section.content.footer.reclaimAtRest
                visible: false
            }

            TextButton {
                objectName: "reclaim"
                width: Math.min(implicitWidth, parent.room - (dismiss.visible ? dismiss.width + parent.spacing : 0))
                busy: !section.content.footer.reclaimEnabled
                look: section.content.footer.dismissible ? TextButton.Look.Call : TextButton.Look.Plain
                font: section.content.footer.reclaimSemibold ? Theme.actionSemibold : Theme.action
                symbol: section.content.footer.reclaimSymbol
                text: section.content.footer.reclaim
                tip: width < implicitWidth ? text : ""
                onClicked: section.content.pressReclaim()
            }

            PlainButton {
                id: dismiss

                objectName: "dismiss"
                width: Theme.dismissSize
                leftInset: 0
                rightInset: 0
                visible: section.content.footer.dismissible
                spoken: section.content.footer.dismiss
                onClicked: section.content.dismissPreview()

                contentItem: Item {
                    implicitHeight: Theme.dismissSize

                    Symbol {
                        objectName: "cross"
                        x: Theme.grid.middle(parent.width, width)
                        y: Theme.grid.middle(parent.height, height)
                        colour: dismiss.down || dismiss.hovered ? Inks.fills.of("primary") : Inks.fills.of("tertiary")
                        name: "xmark"
                        size: Theme.dismissSymbol
                    }
                }
            }
        }

        TextButton {
            id: quit

            objectName: "quitProgram"
            anchors.right: parent.right
            y: Theme.grid.middle(parent.height, height)
            font: Theme.action
            symbol: "power"
            text: section.content.footer.quit
            onClicked: section.content.terminate()
        }
    }
}
