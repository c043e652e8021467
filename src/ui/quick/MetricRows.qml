pragma ComponentBehavior: Bound

import QtQuick
import Korvel

// The gauges.
Section {
    id: section

    required property PopoverBridge content

    sentence: content.spoken.rows
    bottomPadding: Theme.rowsPadding
    topPadding: Theme.rowsPadding
    spacing: Theme.rowsSpacing

    Repeater {
        model: section.content.rows

        MetricEntry {
            width: section.innerWidth
            content: section.content
        }
    }
}
