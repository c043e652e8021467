import QtQuick
import Korvel

// The button that opens and closes the breakdown.
PlainButton {
    id: toggle

    required property bool open

    // What it has opened, in one sentence; empty while closed.
    required property string told

    readonly property color ink: Inks.texts.of(hovered || down ? "primary" : "secondary")

    // Stands still while the button has the keyboard: a screen reader would say each change.
    property string heard

    description: heard
    onToldChanged: {
        if ((told === "") !== (heard === "")) {
            heard = told;
        }
    }

    Binding on heard {
        restoreMode: Binding.RestoreNone
        value: toggle.told
        when: !toggle.activeFocus
    }

    contentItem: Row {
        leftPadding: Theme.mirrored ? 0 : -Theme.toggleOutdent
        rightPadding: -Theme.toggleOutdent - leftPadding
        spacing: Theme.chevronSpacing

        Symbol {
            objectName: "chevron"
            y: Theme.grid.middle(parent.height, height)
            bold: true
            colour: toggle.ink
            mirrored: Theme.mirrored && !toggle.open
            name: toggle.open ? "chevron.down" : "chevron.right"
            size: Theme.toggleSymbol
        }

        Label {
            objectName: "word"
            color: toggle.ink
            font: Theme.toggle
            text: toggle.text
        }
    }
}
