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
        implicitHeight: quit.height

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

        // Centred between the watchdog and the way out.
        Row {
            readonly property real room: section.innerWidth - quit.width - warden.width - 2 * Theme.footerSpacing

            x: Theme.grid.place((Theme.mirrored ? quit.width : warden.width) + Theme.footerSpacing + Math.max(0, room - width) / 2)
            spacing: Theme.symbolSpacing

            TextButton {
                objectName: "reclaim"
                width: Math.min(implicitWidth, parent.room - (dismiss.visible ? dismiss.width + parent.spacing : 0))
                enabled: section.content.footer.reclaimEnabled
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
                height: quit.height
                leftInset: 0
                rightInset: 0
                visible: section.content.footer.dismissible
                spoken: section.content.footer.dismiss
                onClicked: section.content.dismissPreview()

                contentItem: Item {
                    Symbol {
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
            font: Theme.action
            symbol: "power"
            text: section.content.footer.quit
            onClicked: section.content.terminate()
        }
    }
}
