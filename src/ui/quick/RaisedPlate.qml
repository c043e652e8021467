import QtQuick
import Korvel

// What lies above the panel: a menu or a tip.
Plate {
    borderColour: Qt.tint(Inks.ground, Inks.texts.track(Theme.borderOpacity))
    borderWidth: Theme.borderWidth
    colour: Inks.dark ? Qt.lighter(Inks.ground, 1.5) : "white"
    radius: Theme.focusRadius
}
