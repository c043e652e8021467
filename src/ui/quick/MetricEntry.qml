import QtQuick
import Korvel

// A metric row with what belongs under it.
Column {
    id: entry

    required property PopoverBridge content
    required property metricValue value

    spacing: Theme.rowSpacing

    MetricRow {
        width: entry.width
        value: entry.value
    }

    Loader {
        visible: entry.value.holdsSwap
        width: entry.width
        Component.onCompleted: {
            if (entry.value.holdsSwap) {
                setSource("SwapHoldersBlock.qml", {"content": entry.content});
            }
        }
    }
}
