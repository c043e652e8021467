import QtQuick

// One factor of the score: its name and what was measured.
Item {
    id: row

    required property string name
    required property string detail
    required property color ink
    required property color quiet

    implicitHeight: detailText.implicitHeight

    Text {
        id: nameText

        width: 72
        color: row.ink
        text: row.name
        textFormat: Text.PlainText
        font.pixelSize: 12
        font.weight: Font.Medium
    }

    Text {
        id: detailText

        x: 80
        width: row.width - 80
        color: row.quiet
        text: row.detail
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        font.pixelSize: 12
    }
}
