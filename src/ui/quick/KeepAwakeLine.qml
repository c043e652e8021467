pragma ComponentBehavior: Bound

import QtQuick
import Korvel

// Keeps the machine awake: a menu of periods while off, a button and the time left while on.
Section {
    id: section

    required property PopoverBridge content

    property alias menuShown: menu.visible

    sentence: content.spoken.awake
    bottomPadding: Theme.keepAwakePadding
    topPadding: Theme.keepAwakePadding

    Item {
        id: line

        objectName: "keepAwake"
        width: section.innerWidth
        implicitHeight: Math.max(label.height, control.lineHeight)

        HoverHandler {
            id: pointer
        }

        Symbol {
            id: cup

            objectName: "cup"
            anchors.left: parent.left
            y: Theme.grid.middle(parent.height, height)
            colour: section.content.awake.on ? Inks.fills.of("cyan") : Inks.fills.of("secondary")
            rim: Inks.rims.of(section.content.awake.on ? "cyan" : "secondary")
            name: "cup.and.saucer.fill"
            size: Theme.actionSymbol
        }

        SpokenLabel {
            id: label

            objectName: "label"
            anchors {
                left: cup.right
                leftMargin: Theme.symbolSpacing
            }
            y: Theme.grid.middle(parent.height, height)
            width: Theme.grid.holding(implicitWidth)
            color: Inks.texts.of("primary")
            font: Theme.action
            spoken: section.content.spoken.awake // with what remains, which stands beside it
            text: section.content.awake.label
            Accessible.description: section.content.awake.tip
        }

        Label {
            objectName: "remaining"
            anchors {
                left: label.right
                leftMargin: Theme.rowLineSpacing
                right: control.left
                rightMargin: Theme.rowLineSpacing
                baseline: label.baseline
            }
            color: Inks.texts.of("secondary")
            font: Theme.remaining
            text: section.content.awake.remaining
            visible: text !== ""
        }

        TextButton {
            id: control

            objectName: "awakeControl"
            anchors.right: parent.right
            y: Theme.grid.middle(parent.height, height)
            font: Theme.awakeControl
            look: TextButton.Look.Quiet
            symbol: section.content.awake.on ? "" : "chevron.down"
            symbolBehind: true
            symbolSize: Theme.toggleSymbol
            text: section.content.awake.control
            description: section.content.awake.label
            onClicked: {
                if (section.content.awake.on) {
                    section.content.disableAwake();
                } else {
                    menu.opened ? menu.close() : menu.openAt(control);
                }
            }

            ChoiceMenu {
                id: menu

                choices: section.content.awake.choices
                onChosen: index => section.content.enableAwake(index)
            }
        }

        TipLoader {
            target: label
            tip: section.content.awake.tip
            wanted: pointer.hovered && !menu.visible
        }
    }
}
