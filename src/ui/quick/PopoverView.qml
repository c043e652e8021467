pragma ComponentBehavior: Bound

import QtQuick
import Korvel

// The popover's root: lays out what the bridge hands over.
Rectangle {
    id: root

    required property PopoverBridge content

    readonly property color ink: content.dark ? "#f2f2f2" : "#1c1c1e"
    readonly property color quiet: content.dark ? "#a0a0a6" : "#6b6b70"

    width: 340
    height: column.implicitHeight + 32
    color: content.dark ? "#242428" : "#fafafa"
    border.color: content.dark ? "#45454b" : "#c8c8cc"

    Column {
        id: column

        x: 16
        y: 16
        width: root.width - 32
        spacing: 6

        Row {
            spacing: 12
            bottomPadding: 6

            Rectangle {
                width: 56
                height: 56
                radius: 16
                color: root.content.color

                Text {
                    anchors.centerIn: parent
                    color: "#101418"
                    text: root.content.score
                    textFormat: Text.PlainText
                    font.pixelSize: 26
                    font.bold: true
                }
            }

            Text {
                anchors.verticalCenter: parent.verticalCenter
                anchors.verticalCenterOffset: -3
                color: root.ink
                text: root.content.verdict
                textFormat: Text.PlainText
                font.pixelSize: 17
                font.weight: Font.DemiBold
            }
        }

        Repeater {
            model: root.content.factors

            FactorRow {
                width: column.width
                ink: root.ink
                quiet: root.quiet
            }
        }
    }
}
