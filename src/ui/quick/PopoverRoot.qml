import QtQuick
import Korvel

// All of the popover's window: the panel, around it the shadow where there is one, and at the right and at
// the bottom what the window must be larger for all of it to be drawn.
Item {
    id: root

    required property PopoverBridge content
    required property PopoverFrame frame

    readonly property size shown: Qt.size(
        panel.width + (frame.shadowed ? 2 * shadow.sideMargin : 0),
        panel.height + (frame.shadowed ? shadow.topMargin + shadow.bottomMargin : 0))

    LayoutMirroring.enabled: Theme.mirrored
    LayoutMirroring.childrenInherit: true

    width: frame.windowLength(shown.width, Theme.grid.ratio)
    height: frame.windowLength(shown.height, Theme.grid.ratio)
    onShownChanged: frame.shown = shown

    Connections {
        target: root.frame

        function onLayOut() {
            panel.layOut();
        }
    }

    Shadow {
        id: shadow

        width: root.shown.width
        height: root.shown.height
        colour: Qt.alpha("black", Inks.dark ? Theme.shadowOpacityDark : Theme.shadowOpacity)
        radius: panel.radius
        visible: root.frame.shadowed
    }

    PopoverPanel {
        id: panel

        x: root.frame.shadowed ? Theme.grid.place(shadow.sideMargin) : 0
        y: root.frame.shadowed ? Theme.grid.place(shadow.topMargin) : 0
        animated: root.frame.animated
        bordered: root.frame.bordered
        content: root.content
        maximumHeight: root.frame.maximumHeight
        rounded: root.frame.rounded
        onMenuShownChanged: root.frame.menuShown = menuShown
    }
}
