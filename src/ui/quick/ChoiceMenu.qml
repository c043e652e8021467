pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Korvel

// A short menu that opens above or below the button it belongs to, where there is room.
T.Menu {
    id: menu

    property list<string> choices

    property Item openedBy
    property bool byKeyboard: false

    signal chosen(index: int)

    function openAt(button: Item) {
        const bottom = button.mapToItem(null, 0, button.height).y;
        const room = button.Window.height - bottom;
        x = Theme.mirrored ? 0 : button.width - width;
        y = room > height + Theme.focusReach ? button.height + Theme.focusReach : -height - Theme.focusReach;
        openedBy = button;
        byKeyboard = (button as PlainButton).visualFocus;
        currentIndex = byKeyboard ? 0 : -1;
        open();
    }

    function choose(index: int) {
        close();
        chosen(index);
    }

    onClosed: {
        if (byKeyboard) {
            openedBy.forceActiveFocus(Qt.TabFocusReason);
            // Later releases of Qt have given the focus back already, for a reason that shows no ring.
            (openedBy as PlainButton).focusReason = Qt.TabFocusReason;
        }
    }

    width: Theme.menuWidth
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    margins: Theme.focusReach
    padding: Theme.menuPadding
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent

    Repeater {
        model: menu.choices

        T.MenuItem {
            id: entry

            required property int index
            required property string modelData

            implicitWidth: menu.availableWidth
            implicitHeight: Theme.menuItemHeight
            hoverEnabled: true
            text: modelData
            Accessible.name: text
            Accessible.role: Accessible.MenuItem
            Accessible.onPressAction: menu.choose(index)
            onTriggered: menu.choose(index)

            background: Plate {
                readonly property bool chosen: entry.highlighted || entry.hovered

                // What is laid under text is too faint to say it in high contrast.
                borderColour: Inks.texts.of("primary")
                borderWidth: chosen && Inks.highContrast ? Theme.focusRing : 0
                colour: chosen ? Inks.texts.wash(Theme.highlightOpacity) : "transparent"
                radius: Theme.menuItemRadius
            }

            contentItem: Label {
                indent: Theme.menuPadding * 2
                color: Inks.texts.of("primary")
                font: Theme.action
                text: entry.text
                verticalAlignment: Text.AlignVCenter
                height: entry.height
            }
        }
    }

    contentItem: ListView {
        implicitHeight: contentHeight
        currentIndex: menu.currentIndex
        interactive: false
        model: menu.contentModel
        // The menu is none of the popover's pieces, which are mirrored with their root.
        LayoutMirroring.enabled: Theme.mirrored
        LayoutMirroring.childrenInherit: true
    }

    background: RaisedPlate {}
}
