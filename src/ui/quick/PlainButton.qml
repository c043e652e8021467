import QtQuick
import QtQuick.Templates as T
import Korvel

// A button without a frame. It shows that it has the keyboard, and while the pointer rests on it,
// its tip.
T.AbstractButton {
    id: button

    property string tip
    property string spoken: text // its name
    property string description: tip // what a screen reader says after it

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftInset: -Theme.focusReach
    rightInset: -Theme.focusReach
    topInset: -Theme.focusReach
    bottomInset: -Theme.focusReach
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
        borderColour: Inks.texts.of("cyan")
        borderWidth: Inks.highContrast ? Theme.focusRingStrong : Theme.focusRing
        radius: Theme.focusRadius
        visible: button.visualFocus
    }

    TipLoader {
        target: button
        tip: button.tip
        wanted: button.hovered
    }
}
