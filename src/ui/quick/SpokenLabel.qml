import QtQuick
import Korvel

// A label that a screen reader says, whole where it is cut.
Label {
    property string spoken: text

    Accessible.ignored: !visible || spoken === ""
    Accessible.name: spoken
    Accessible.role: Accessible.StaticText
}
