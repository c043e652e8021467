import QtQuick
import Korvel

// Makes a tip only while the pointer rests on what it is about.
Loader {
    id: loader

    required property Item target
    required property string tip
    required property bool wanted

    active: wanted && tip !== ""
    onLoaded: {
        const made = item as Tip;
        made.target = target;
        made.text = tip;
    }

    sourceComponent: Tip {}
}
