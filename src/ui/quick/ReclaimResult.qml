import QtQuick
import Korvel

// What the last clearing of disk space gained.
Section {
    id: section

    required property PopoverBridge content

    bottomPadding: Theme.resultPadding
    topPadding: Theme.resultPadding

    Label {
        objectName: "result"
        width: section.innerWidth
        color: Inks.texts.of("cyan")
        font: Theme.result
        text: section.content.reclaimResult
        Accessible.ignored: !visible
        Accessible.name: text
        Accessible.role: Accessible.StaticText
    }
}
