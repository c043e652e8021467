import QtQuick
import Korvel

// One metric: caption, bar, sparkline and percentage, and a line that explains it.
Column {
    id: row

    required property string label
    required property string percentText
    required property real barFraction
    required property string detail
    required property string colour
    required property bool hasSpark
    required property string sparkColour
    required property list<real> sparkValues

    spacing: Theme.rowSpacing

    Accessible.role: Accessible.StaticText
    Accessible.name: label + " " + percentText + ", " + detail

    Item {
        width: row.width
        height: Math.max(caption.height, percent.height, row.hasSpark ? spark.height : 0)

        Label {
            id: caption

            objectName: "caption"
            width: Theme.captionWidth
            anchors.baseline: percent.baseline
            color: Inks.texts.of("secondary")
            font: Theme.rowCaption
            text: row.label
        }

        GaugeBar {
            objectName: "bar"
            anchors {
                left: caption.right
                leftMargin: Theme.rowLineSpacing
                right: row.hasSpark ? spark.left : percent.left
                rightMargin: Theme.rowLineSpacing
                verticalCenter: parent.verticalCenter
            }
            height: Theme.barHeight
            colour: Inks.fills.of(row.colour)
            fraction: row.barFraction
            shortest: Theme.shortestRowBar
            trackColour: Theme.track(Theme.rowTrackOpacity)
        }

        Item {
            id: spark

            objectName: "spark"
            anchors {
                right: percent.left
                rightMargin: Theme.rowLineSpacing
                verticalCenter: parent.verticalCenter
            }
            width: Theme.sparkWidth
            height: Theme.sparkHeight
            visible: row.hasSpark

            Spark {
                anchors.centerIn: parent
                colour: Inks.fills.of(row.sparkColour)
                values: row.sparkValues
            }
        }

        Label {
            id: percent

            objectName: "percent"
            width: Theme.percentWidth
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            color: Inks.texts.of(row.colour)
            font: Theme.rowPercent
            horizontalAlignment: Text.AlignRight
            text: row.percentText
        }
    }

    Label {
        objectName: "detail"
        width: row.width
        leftPadding: Theme.detailIndent
        color: Inks.texts.of("tertiary")
        font: Theme.rowDetail
        maximumLineCount: 2
        text: row.detail
        wrapMode: Text.Wrap
    }
}
