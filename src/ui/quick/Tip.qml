import QtQuick
import QtQuick.Templates as T
import Korvel

// What a button says of itself while the pointer rests on it.
T.ToolTip {
    id: tip

    property Item target

    readonly property real longest: Theme.popoverWidth - 2 * Theme.sidePadding

    parent: target
    x: target ? Math.round((target.width - width) / 2) : 0
    y: target ? target.height + Theme.focusReach : 0
    implicitWidth: Math.min(longest, contentItem.implicitWidth + leftPadding + rightPadding)
    implicitHeight: contentItem.height + topPadding + bottomPadding
    margins: Theme.focusReach
    horizontalPadding: 8
    verticalPadding: 5
    delay: 600
    visible: target !== null

    contentItem: Label {
        width: tip.availableWidth
        color: Inks.texts.of("primary")
        font: Theme.tip
        maximumLineCount: 6
        text: tip.text
        wrapMode: Text.Wrap
    }

    background: Rectangle {
        border.color: Theme.track(Theme.dividerOpacity)
        color: Inks.dark ? Qt.lighter(Inks.ground, 1.5) : "white"
        radius: Theme.focusRadius
    }
}
