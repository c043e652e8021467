import QtQuick
import QtQuick.Templates as T
import Korvel

// What a button says of itself while the pointer rests on it.
T.ToolTip {
    id: tip

    property Item target

    // Below what it is about, or above where the window ends before; never over it.
    readonly property bool below: !target || target.mapToItem(null, 0, target.height).y + height + 2 * Theme.focusReach
                                  < target.Window.height
    readonly property real longest: Theme.popoverWidth - 2 * Theme.sidePadding

    parent: target
    x: target ? Theme.grid.middle(target.width, width) : 0
    y: !target ? 0 : below ? target.height + Theme.focusReach : -height - Theme.focusReach
    implicitWidth: Math.min(longest, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    margins: Theme.focusReach
    horizontalPadding: Theme.tipSidePadding
    verticalPadding: Theme.tipPadding
    delay: Theme.tipDelay
    visible: target !== null

    // The tip sets the size of this item. A binding of the item's own on its height would be
    // removed while it is evaluated, and the toolkit crashes over that.
    contentItem: Text {
        objectName: "tip"
        color: Inks.texts.of("primary")
        elide: Text.ElideRight
        font: Theme.tip
        horizontalAlignment: Text.AlignLeft
        maximumLineCount: 8
        text: tip.text
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        LayoutMirroring.enabled: Theme.mirrored
    }

    background: RaisedPlate {}
}
