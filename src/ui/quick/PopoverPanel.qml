import QtQuick
import Korvel

// The popover's panel: the ground under the sections, as tall as they are, up to a limit.
Panel {
    id: root

    required property PopoverBridge content

    property alias animated: view.animated
    property alias menuShown: view.menuShown
    property bool bordered: true
    property real maximumHeight: Infinity
    property bool rounded: false

    // Keeps what scrolls by out of the round corners.
    readonly property real inset: rounded && view.contentHeight > maximumHeight ? Theme.cornerInset : 0

    // To be called before the popover opens.
    function layOut() {
        view.layOut();
    }

    width: Math.ceil(Theme.popoverWidth)
    height: Math.min(Math.ceil(view.contentHeight), maximumHeight)
    borderColour: Qt.tint(Inks.ground, Inks.texts.track(Theme.borderOpacity))
    borderWidth: bordered ? Theme.borderWidth : 0
    colour: Inks.ground
    radius: rounded ? Theme.popoverRadius : 0

    Item {
        objectName: "sight"
        anchors {
            fill: parent
            topMargin: root.inset
            bottomMargin: root.inset
        }
        clip: root.inset > 0

        ScrolledSections {
            id: view

            anchors {
                fill: parent
                topMargin: -root.inset
                bottomMargin: -root.inset
            }
            content: root.content
            inset: root.inset
            focus: true
        }
    }
}
