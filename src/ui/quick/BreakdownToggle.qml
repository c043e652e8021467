import QtQuick
import Korvel

// The button that opens and closes the breakdown.
PlainButton {
    id: toggle

    required property bool open

    readonly property color ink: Inks.texts.of(hovered || down ? "primary" : "secondary")

    Accessible.name: text

    contentItem: Row {
        leftPadding: Theme.mirrored ? 0 : -Theme.toggleOutdent
        rightPadding: -Theme.toggleOutdent - leftPadding
        spacing: Theme.chevronSpacing

        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            bold: true
            colour: toggle.ink
            mirrored: Theme.mirrored && !toggle.open
            name: toggle.open ? "chevron.down" : "chevron.right"
            size: Theme.toggleSymbol
        }

        Label {
            color: toggle.ink
            font: Theme.toggle
            text: toggle.text
        }
    }
}
