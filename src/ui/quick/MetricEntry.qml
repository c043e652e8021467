import QtQuick
import Korvel

// A metric row with what belongs under it.
Column {
    id: entry

    required property PopoverBridge content
    required property string label
    required property string percentText
    required property real barFraction
    required property string detail
    required property string colour
    required property bool hasSpark
    required property string sparkColour
    required property list<real> sparkValues
    required property bool holdsSwap

    spacing: Theme.rowSpacing

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
        visible: entry.holdsSwap
        width: entry.width
        Component.onCompleted: {
            if (entry.holdsSwap) {
                setSource("SwapHoldersBlock.qml", {"content": entry.content});
            }
        }
    }
}
