import QtQuick
import Korvel

// Makes a tip only while the pointer rests on what it is about.
Loader {
    id: loader

    required property Item target
    required property string tip
    required property bool wanted

    active: wanted && tip !== ""
    onLoaded: (item as Tip).target = target

    sourceComponent: Tip {}

    Binding {
        property: "text"
        target: loader.item
        value: loader.tip
    }
}
