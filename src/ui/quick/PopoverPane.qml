import QtQuick
import Korvel

// The content of a popover whose frame is the desktop's: as tall as it is, up to a limit.
Rectangle {
    id: root

    required property PopoverBridge content

    property alias animated: view.animated
    property alias menuShown: view.menuShown // it takes the Escape key
    property real maximumHeight: 740

    // To be called before the popover opens.
    function layOut() {
        view.layOut();
    }

    width: Theme.popoverWidth
    height: Math.min(view.contentHeight, maximumHeight)
    color: Inks.ground

    ScrolledSections {
        id: view

        anchors.fill: parent
        content: root.content
        focus: true
    }
}
