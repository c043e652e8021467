import QtQuick
import Korvel

// All of the popover's window: the panel, and around it the shadow where there is one.
Item {
    id: root

    required property PopoverBridge content

    property alias animated: panel.animated
    property alias maximumHeight: panel.maximumHeight
    property alias menuShown: panel.menuShown // it takes the Escape key
    property alias rounded: panel.rounded
    property bool shadowed: false

    // To be called before the popover opens.
    function layOut() {
        panel.layOut();
    }

    width: panel.width + (shadowed ? 2 * shadow.sideMargin : 0)
    height: panel.height + (shadowed ? shadow.topMargin + shadow.bottomMargin : 0)

    Shadow {
        id: shadow

        anchors.fill: parent
        colour: Qt.alpha("black", Inks.dark ? Theme.shadowOpacityDark : Theme.shadowOpacity)
        radius: panel.radius
        visible: root.shadowed
    }

    PopoverPanel {
        id: panel

        x: root.shadowed ? shadow.sideMargin : 0
        y: root.shadowed ? shadow.topMargin : 0
        content: root.content
    }
}
