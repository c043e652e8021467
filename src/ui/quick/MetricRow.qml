import QtQuick
import Korvel

// One metric: caption, bar, sparkline and percentage, and a line that explains it.
Column {
    id: row

    required property metricValue value

    spacing: Theme.rowSpacing

    Accessible.role: Accessible.StaticText
    Accessible.name: value.spoken

    Item {
        width: row.width
        height: Math.max(caption.height, percent.height, row.value.hasSpark ? spark.height : 0)

        Label {
            id: caption

            objectName: "caption"
            width: Theme.captionWidth
            anchors.left: parent.left
            anchors.baseline: percent.baseline
            color: Inks.texts.of("secondary")
            font: Theme.rowCaption
            text: row.value.label
        }

        GaugeBar {
            objectName: "bar"
            anchors {
                left: caption.right
                leftMargin: Theme.rowLineSpacing
                right: row.value.hasSpark ? spark.left : percent.left
                rightMargin: Theme.rowLineSpacing
            }
            y: Theme.grid.middle(parent.height, height)
            height: Theme.barHeight
            colour: Inks.fills.of(row.value.colour)
            rim: Inks.rims.of(row.value.colour)
            fraction: row.value.barFraction
            shortest: Theme.shortestRowBar
            mirrored: Theme.mirrored
            trackColour: Inks.texts.track(Theme.rowTrackOpacity)
        }

        Item {
            id: spark

            objectName: "spark"
            anchors {
                right: percent.left
                rightMargin: Theme.rowLineSpacing
            }
            y: Theme.grid.middle(parent.height, height)
            width: Theme.sparkWidth
            height: Theme.sparkHeight
            visible: row.value.hasSpark

            Spark {
                objectName: "trail"
                width: implicitWidth * Theme.textScale
                height: implicitHeight * Theme.textScale
                x: Theme.grid.middle(parent.width, width)
                y: Theme.grid.middle(parent.height, height)
                colour: Inks.fills.of(row.value.sparkColour)
                rim: Inks.rims.of(row.value.sparkColour)
                values: row.value.sparkValues
            }
        }

        Label {
            id: percent

            objectName: "percent"
            width: Theme.percentWidth
            anchors.right: parent.right
            y: Theme.grid.middle(parent.height, height)
            color: Inks.texts.of(row.value.colour)
            font: Theme.rowPercent
            horizontalAlignment: Text.AlignRight
            text: row.value.percent
        }
    }

    Label {
        objectName: "detail"
        width: row.width
        indent: Theme.detailIndent
        color: Inks.texts.of("tertiary")
        font: Theme.rowDetail
        maximumLineCount: 2
        text: row.value.detail
        wrapMode: Text.Wrap
    }
}
