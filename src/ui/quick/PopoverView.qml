import QtQuick
import Korvel

// The popover's panel.
Rectangle {
    id: root

    required property PopoverBridge content

    property real maximumHeight: 740

    width: Theme.popoverWidth
    height: Math.min(view.contentHeight, maximumHeight)
    color: Inks.ground

    ContentView {
        id: view

        anchors.fill: parent
        content: root.content
        focus: true
    }
}
