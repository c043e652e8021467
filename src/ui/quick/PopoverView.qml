import QtQuick
import Korvel

// The popover's panel: as tall as its content, up to a limit.
Rectangle {
    id: root

    required property PopoverBridge content

    property alias animated: view.animated
    property real maximumHeight: 740

    // To be called before the popover opens.
    function layOut() {
        view.layOut();
    }

    width: Theme.popoverWidth
    height: Math.min(view.contentHeight, maximumHeight)
    border.color: Qt.tint(Inks.ground, Theme.track(Theme.borderOpacity))
    color: Inks.ground

    ContentView {
        id: view

        anchors.fill: parent
        content: root.content
        focus: true
    }
}
