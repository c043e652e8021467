import QtQuick
import Korvel

// What one factor costs, and why.
Column {
    id: line

    required property factorValue value

    spacing: Theme.factorLineSpacing

    Accessible.role: Accessible.StaticText
    Accessible.name: value.spoken

    Item {
        width: line.width
        height: Math.max(nameLabel.height, points.height)

        Label {
            id: nameLabel

            objectName: "name"
            width: Theme.captionWidth
            anchors.left: parent.left
            y: Theme.grid.middle(parent.height, height)
            color: Inks.texts.of("primary")
            font: Theme.factorName
            text: line.value.name
        }

        GaugeBar {
            objectName: "bar"
            anchors {
                left: nameLabel.right
                leftMargin: Theme.rowLineSpacing
                right: pointsFrame.left
                rightMargin: Theme.rowLineSpacing
            }
            y: Theme.grid.middle(parent.height, height)
            height: Theme.barHeight
            colour: Inks.fills.of(line.value.barColour)
            rim: Inks.rims.of(line.value.barColour)
            fraction: line.value.barFraction
            shortest: Theme.shortestFactorBar
            mirrored: Theme.mirrored
            trackColour: Inks.texts.track(Theme.factorTrackOpacity)
        }

        Item {
            id: pointsFrame

            objectName: "points"
            width: Theme.pointsWidth
            height: parent.height
            anchors.right: parent.right

            Digits {
                id: points

                objectName: "lost"
                anchors.right: parent.right
                y: Theme.grid.place(nameLabel.y + nameLabel.baselineOffset - baselineOffset)
                colour: Inks.texts.of(line.value.lostColour)
                font: Theme.factorPoints
                text: line.value.lost
            }
        }
    }

    Label {
        objectName: "detail"
        width: line.width
        indent: Theme.detailIndent
        color: Inks.texts.of("tertiary")
        font: Theme.factorDetail
        maximumLineCount: 2
        text: line.value.detail
        wrapMode: Text.Wrap
    }
}
