pragma ComponentBehavior: Bound

import QtQuick
import Korvel

// The heaviest processes; nothing where there is none to list.
Section {
    id: section

    required property PopoverBridge content

    readonly property bool empty: lines.count === 0

    sentence: content.spoken.heaviest
    bottomPadding: Theme.processesPadding
    topPadding: Theme.processesPadding

    Label {
        objectName: "caption"
        width: section.innerWidth
        bottomPadding: Theme.processesSpacing
        color: Inks.texts.of("tertiary")
        font: Theme.listCaption
        text: section.content.heaviestCaption
        Accessible.ignored: false
        Accessible.name: text
        Accessible.role: Accessible.Heading
    }

    Repeater {
        id: lines

        model: section.content.heaviest

        ProcessLine {
            width: section.innerWidth
            marked: true
            nameFont: Theme.processName
            sizeFont: Theme.processSize
            onQuit: pid => section.content.quitProcess(pid)
        }
    }
}
