pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Korvel

// The popover's content: its sections under one another, which scroll where they are taller than
// the view.
FocusScope {
    id: root

    required property PopoverBridge content

    // False while the popover is filled before it opens: what changes then is not to move or fade.
    property bool animated: true
    property alias menuShown: keepAwake.menuShown
    property real inset: 0 // of the edges that content scrolls under
    readonly property real contentHeight: column.implicitHeight

    // Brings every piece into its place now, and not when the next picture is drawn: the popover
    // opens at its final height. The keyboard begins at the top again.
    function layOut() {
        layOutColumns(column);
        if (!animated) {
            flickable.forceActiveFocus(Qt.OtherFocusReason);
        }
    }

    // The inner columns first: the outer ones stack their heights.
    function layOutColumns(item: Item) {
        for (let i = 0; i < item.children.length; ++i) {
            layOutColumns(item.children[i]);
        }
        if (item instanceof Column) {
            (item as Column).forceLayout();
        }
    }

    // How much is left of a line across the popover, at that height of the content: none at an edge that
    // content goes on beyond, where it would stand out of the round corners.
    function presence(y: real): real {
        const top = flickable.atYBeginning ? Infinity : y - flickable.contentY - inset;
        const bottom = flickable.atYEnd ? Infinity : flickable.contentY + flickable.height - inset - y;
        return Math.max(0, Math.min(1, top / Theme.fadeHeight, bottom / Theme.fadeHeight));
    }

    component Line: Divider {
        opacity: root.presence(y)
    }

    // The ground comes over what is about to leave through this edge.
    component Fade: Rectangle {
        id: fade

        property real hidden // how far the content goes on beyond the edge
        property bool atBottom: false

        anchors {
            left: parent.left
            right: parent.right
            leftMargin: Theme.scrollBarWidth // that of the scroll bar, at whichever side it is
            rightMargin: Theme.scrollBarWidth
        }
        height: root.inset + Theme.fadeHeight
        opacity: Math.min(1, hidden / Theme.fadeHeight)
        visible: hidden > 0
        gradient: Gradient {
            GradientStop {
                color: fade.atBottom ? Qt.alpha(Inks.ground, 0) : Inks.ground
                position: fade.atBottom ? 0 : root.inset / fade.height
            }
            GradientStop {
                color: fade.atBottom ? Inks.ground : Qt.alpha(Inks.ground, 0)
                position: fade.atBottom ? 1 - root.inset / fade.height : 1
            }
        }
    }

    implicitWidth: Theme.popoverWidth
    implicitHeight: contentHeight

    Keys.onDownPressed: flickable.scrollBy(Theme.scrollStep)
    Keys.onUpPressed: flickable.scrollBy(-Theme.scrollStep)
    Keys.onPressed: event => {
        const page = flickable.height - Theme.scrollStep;
        if (event.key === Qt.Key_PageDown) {
            flickable.scrollBy(page);
        } else if (event.key === Qt.Key_PageUp) {
            flickable.scrollBy(-page);
        } else if (event.key === Qt.Key_Home) {
            flickable.scrollBy(-flickable.contentHeight);
        } else if (event.key === Qt.Key_End) {
            flickable.scrollBy(flickable.contentHeight);
        } else {
            return;
        }
        event.accepted = true;
    }

    Flickable {
        id: flickable

        // The score and its verdict. It stands still while nothing in it has the keyboard yet: a screen
        // reader would say each change.
        property string heard

        // Moves the content up by that many pixels, as far as there is content.
        function scrollBy(distance: real) {
            const furthest = Math.max(0, contentHeight - height);
            contentY = Math.max(0, Math.min(furthest, contentY + distance));
        }

        // Brings a piece of the content that has got the keyboard into sight.
        function reveal(item: Item) {
            const margin = root.inset + Theme.fadeHeight; // clear of what fades at the edge
            const top = item.mapToItem(contentItem, 0, 0).y;
            if (top - margin < contentY) {
                scrollBy(top - margin - contentY);
            } else if (top + item.height + margin > contentY + height) {
                scrollBy(top + item.height + margin - contentY - height);
            }
        }

        objectName: "scroll"
        focus: true
        Accessible.name: heard
        Accessible.role: Accessible.Section

        Binding on heard {
            restoreMode: Binding.RestoreNone
            value: root.content.spoken.opening
            when: !flickable.activeFocus || !root.animated
        }

        anchors.fill: parent
        boundsBehavior: Flickable.StopAtBounds
        clip: interactive
        contentHeight: column.implicitHeight
        contentWidth: width
        interactive: contentHeight > height
        onContentHeightChanged: scrollBy(0)
        onHeightChanged: scrollBy(0)

        Connections {
            target: root.Window.window

            function onActiveFocusItemChanged() {
                const item = root.Window.activeFocusItem;
                for (let parent = item; parent; parent = parent.parent) {
                    if (parent === column) {
                        flickable.reveal(item);
                        return;
                    }
                }
            }
        }

        T.ScrollBar.vertical: T.ScrollBar {
            id: scrollBar

            padding: Theme.scrollBarPadding
            topPadding: Theme.scrollBarEndPadding
            bottomPadding: Theme.scrollBarEndPadding
            implicitWidth: Theme.scrollBarWidth
            minimumSize: Theme.shortestScrollBar
            policy: flickable.interactive ? T.ScrollBar.AlwaysOn : T.ScrollBar.AlwaysOff
            hoverEnabled: true
            visible: flickable.interactive
            Accessible.ignored: true // what has the keyboard comes into sight by itself

            // As dark as a veil of the primary colour, but nothing shows through.
            contentItem: Plate {
                objectName: "thumb"
                colour: Qt.tint(Inks.ground, Inks.texts.track(scrollBar.hovered || scrollBar.pressed ? Theme.scrollBarOpacityActive : Theme.scrollBarOpacity))
                radius: width / 2
            }
        }

        Column {
            id: column

            y: flickable.contentY - Theme.grid.place(flickable.contentY) // on whole pixels of the screen
            width: root.width

            WhatsNewBanner {
                objectName: "banner"
                animated: root.animated && Theme.moves
                content: root.content
            }

            ScoreHeader {
                objectName: "header"
                animated: root.animated && Theme.moves
                content: root.content
            }

            // What is not always there is made when it is: of what was hidden before, some screen readers
            // believe that it still is.
            Repeater {
                model: root.content.header.breakdownShown ? 1 : 0

                Breakdown {
                    objectName: "breakdown"
                    content: root.content
                }
            }

            Line {}

            Section {
                id: status

                objectName: "status"
                sentence: root.content.spoken.status
                bottomPadding: Theme.statusPadding
                spacing: Theme.statusSpacing
                topPadding: Theme.statusPadding

                Repeater {
                    model: root.content.status

                    StatusLine {
                        width: status.innerWidth
                    }
                }
            }

            Line {}

            MetricRows {
                objectName: "rows"
                content: root.content
            }

            Line {
                visible: heaviest.visible
            }

            HeaviestList {
                id: heaviest

                objectName: "heaviest"
                content: root.content
                visible: !empty
            }

            Line {}

            KeepAwakeLine {
                id: keepAwake

                content: root.content
            }

            Line {
                visible: root.content.update.shown
            }

            Repeater {
                model: root.content.update.shown ? 1 : 0

                UpdateStatusLine {
                    content: root.content
                }
            }

            Line {}

            Footer {
                content: root.content
            }

            Line {
                visible: root.content.reclaimResult !== ""
            }

            Repeater {
                model: root.content.reclaimResult === "" ? 0 : 1

                ReclaimResult {
                    content: root.content
                }
            }
        }
    }

    Fade {
        objectName: "fadeTop"
        hidden: flickable.contentY
    }

    Fade {
        objectName: "fadeBottom"
        anchors.bottom: parent.bottom
        atBottom: true
        hidden: Math.max(0, flickable.contentHeight - flickable.height - flickable.contentY)
    }
}
