import QtQuick
import Korvel

// The score, its verdict, and the machine that they are about.
Item {
    id: header

    required property PopoverBridge content

    property bool animated: true

    implicitWidth: Theme.popoverWidth
    implicitHeight: Theme.headerTop + Math.max(dial.height, column.height) + Theme.headerBottom

    Accessible.name: content.spoken.header
    Accessible.role: Accessible.Grouping

    ScoreDial {
        id: dial

        anchors.left: parent.left
        anchors.leftMargin: Theme.sidePadding
        y: Theme.headerTop + Math.max(0, Theme.grid.middle(column.height, height))
        animated: header.animated
        value: header.content.header
    }

    Column {
        id: column

        anchors {
            left: dial.right
            leftMargin: Theme.headerSpacing
            right: parent.right
            rightMargin: Theme.sidePadding
        }
        y: Theme.headerTop + Math.max(0, Theme.grid.middle(dial.height, height))
        spacing: Theme.headerLineSpacing

        SpokenLabel {
            objectName: "verdict"
            width: column.width
            color: Inks.texts.of(header.content.header.colour)
            font: Theme.verdict
            text: header.content.header.verdict
        }

        SpokenLabel {
            objectName: "machineLine"
            width: column.width
            color: Inks.texts.of("secondary")
            font: Theme.machineLine
            spoken: header.content.header.machineSpoken
            text: header.content.header.machine
        }

        Item {
            width: column.width
            height: Theme.toggleTop + toggle.lineHeight

            BreakdownToggle {
                id: toggle

                objectName: "toggle"
                anchors.left: parent.left
                y: Theme.toggleTop - topPadding
                open: header.content.header.breakdownShown
                told: header.content.spoken.breakdown
                text: header.content.header.toggle
                onClicked: header.content.toggleBreakdown()
            }
        }
    }
}
