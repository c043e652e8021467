import QtQuick
import Korvel

// The popover's panel: as tall as its content, up to a limit.
Rectangle {
    id: root

    required property PopoverBridge content

    property alias animated: view.animated
    property alias menuShown: view.menuShown // it takes the Escape key
    property real maximumHeight: 740
    property bool rounded: false

    // Keeps what scrolls by out of the round corners.
    readonly property real inset: rounded && view.contentHeight > maximumHeight ? Theme.cornerInset : 0

    // To be called before the popover opens.
    function layOut() {
        view.layOut();
    }

    width: Theme.popoverWidth
    height: Math.min(view.contentHeight, maximumHeight)
    border.color: Qt.tint(Inks.ground, Theme.track(Theme.borderOpacity))
    color: Inks.ground
    radius: rounded ? Theme.popoverRadius : 0

    Item {
        anchors.fill: parent
        anchors.margins: root.inset
        clip: root.inset > 0

        ScrolledSections {
            id: view

            anchors.fill: parent
            anchors.margins: -root.inset
            content: root.content
            focus: true
        }
    }
}
