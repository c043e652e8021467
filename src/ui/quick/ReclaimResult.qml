import QtQuick
import Korvel

// What the last clearing of disk space gained.
Section {
    id: section

    required property PopoverBridge content

    bottomPadding: Theme.resultPadding
    topPadding: Theme.resultPadding

    SpokenLabel {
        objectName: "result"
        width: section.innerWidth
        color: Inks.texts.of("cyan")
        font: Theme.result
        spoken: section.content.spoken.result
        text: section.content.reclaimResult
    }
}
