import QtQuick
import Korvel

// All of the popover's window: the panel, and around it the shadow where there is one.
Item {
    id: root

    required property PopoverBridge content
    required property PopoverFrame frame

    LayoutMirroring.enabled: Theme.mirrored
    LayoutMirroring.childrenInherit: true

    width: panel.width + (frame.shadowed ? 2 * shadow.sideMargin : 0)
    height: panel.height + (frame.shadowed ? shadow.topMargin + shadow.bottomMargin : 0)

    Connections {
        target: root.frame

        function onLayOut() {
            panel.layOut();
        }
    }

    Shadow {
        id: shadow

        anchors.fill: parent
        colour: Qt.alpha("black", Inks.dark ? Theme.shadowOpacityDark : Theme.shadowOpacity)
        radius: panel.radius
        visible: root.frame.shadowed
    }

    PopoverPanel {
        id: panel

        x: root.frame.shadowed ? shadow.sideMargin : 0
        y: root.frame.shadowed ? shadow.topMargin : 0
        animated: root.frame.animated && Theme.moves
        bordered: root.frame.bordered
        content: root.content
        maximumHeight: root.frame.maximumHeight
        rounded: root.frame.rounded
        onMenuShownChanged: root.frame.menuShown = menuShown
    }
}
