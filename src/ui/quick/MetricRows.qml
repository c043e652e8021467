pragma ComponentBehavior: Bound

import QtQuick
import Korvel

// The gauges, and under that of the swap what holds it.
Section {
    id: section

    required property PopoverBridge content

    bottomPadding: Theme.rowsPadding
    topPadding: Theme.rowsPadding
    spacing: Theme.rowsSpacing

    Repeater {
        model: section.content.rows

        Column {
            id: entry

            required property string label
            required property string percentText
            required property real barFraction
            required property string detail
            required property string colour
            required property bool hasSpark
            required property string sparkColour
            required property list<real> sparkValues
            required property bool holdsSwap

            width: section.innerWidth

            MetricRow {
                width: entry.width
                barFraction: entry.barFraction
                colour: entry.colour
                detail: entry.detail
                hasSpark: entry.hasSpark
                label: entry.label
                percentText: entry.percentText
                sparkColour: entry.sparkColour
                sparkValues: entry.sparkValues
            }

            Loader {
                active: entry.holdsSwap
                visible: active
                width: entry.width

                sourceComponent: SwapHoldersBlock {
                    content: section.content
                }
            }
        }
    }
}
