import QtQuick
import QtQuick.Templates as T
import Korvel

// A button without a frame. It shows that it has the keyboard, and while the pointer rests on it,
// its tip. It takes clicks above and below what is seen of it: it is higher than its line.
T.AbstractButton {
    id: button

    property string tip
    property string spoken: text // its name
    property string description: tip // what a screen reader says after it

    readonly property real lineHeight: implicitContentHeight

    // Of the plate behind what is seen: only the ring of the keyboard, unless it has a colour.
    property color plate: "transparent"
    property real plateRadius: Theme.focusRadius
    property bool edged: false // in high contrast

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftInset: -Theme.focusReach
    rightInset: -Theme.focusReach
    topInset: topPadding - Theme.focusReach
    bottomInset: bottomPadding - Theme.focusReach
    verticalPadding: Theme.grid.place(Math.max(0, (Theme.targetHeight - implicitContentHeight) / 2))
    focusPolicy: Qt.TabFocus
    hoverEnabled: true

    Accessible.ignored: !visible
    Accessible.role: Accessible.Button
    Accessible.name: spoken
    Accessible.description: description !== spoken ? description : ""
    // The toolkit's own press action for screen readers reports success and clicks nothing.
    Accessible.onPressAction: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    background: Plate {
        objectName: "ring"
        borderColour: Inks.texts.of(button.visualFocus ? "cyan" : "primary")
        borderWidth: !button.visualFocus ? (button.edged && Inks.highContrast ? Theme.borderWidth : 0) : Inks.highContrast ? Theme.focusRingStrong : Theme.focusRing
        colour: button.plate
        radius: button.plateRadius
        visible: button.visualFocus || button.plate.a > 0
    }

    TipLoader {
        target: button
        tip: button.tip
        wanted: button.hovered
    }
}
