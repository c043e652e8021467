import QtQuick
import Korvel

// Ends the process of its line.
PlainButton {
    id: button

    width: Theme.quitSize
    height: Theme.quitSize
    verticalPadding: 0
    leftInset: 0
    rightInset: 0
    topInset: 0
    bottomInset: 0

    contentItem: Item {
        Symbol {
            objectName: "cross"
            x: Theme.grid.middle(parent.width, width)
            y: Theme.grid.middle(parent.height, height)
            colour: button.down || button.hovered ? Inks.fills.of("bad") : Inks.fills.of("tertiary")
            rim: Inks.rims.of(button.down || button.hovered ? "bad" : "tertiary")
            name: "xmark.circle.fill"
            size: Theme.quitSymbol
        }
    }
}
