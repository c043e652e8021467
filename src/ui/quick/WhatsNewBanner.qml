pragma ComponentBehavior: Bound

import QtQuick
import Korvel

// The card that greets after a first installation or an update, until it is dismissed; as it fades it gives its
// room to what is below.
Item {
    id: banner

    required property PopoverBridge content

    // False while the popover is filled before it opens: what changes then is not to move or fade.
    property bool animated: true

    readonly property bool shown: content.banner.shown

    width: Theme.popoverWidth
    implicitHeight: Theme.grid.place(opacity * (Theme.bannerTop + card.height + Theme.bannerBottom))
    clip: opacity < 1
    enabled: shown
    opacity: shown ? 1 : 0
    visible: opacity > 0

    Accessible.ignored: !shown
    Accessible.name: content.spoken.banner
    Accessible.role: Accessible.Grouping

    Behavior on opacity {
        enabled: banner.animated

        NumberAnimation {
            duration: Theme.bannerAnimation
            easing.type: Easing.BezierSpline
            easing.bezierCurve: Theme.easeOut
        }
    }

    Plate {
        id: card

        objectName: "card"
        x: Theme.bannerSide
        y: Theme.bannerTop
        width: banner.width - 2 * Theme.bannerSide
        height: column.height
        borderColour: Inks.fills.faint("cyan", Theme.bannerStrokeOpacity)
        borderWidth: Theme.borderWidth
        colour: Qt.alpha(Inks.fills.of("cyan"), Theme.bannerFillOpacity)
        radius: Theme.bannerRadius

        Column {
            id: column

            readonly property real innerWidth: width - 2 * padding

            width: card.width
            padding: Theme.bannerPadding
            spacing: Theme.bannerSpacing

            Item {
                objectName: "head"
                width: column.innerWidth
                height: Math.max(mark.height, words.height)

                ShieldMark {
                    id: mark

                    objectName: "mark"
                    anchors.left: parent.left
                    y: Theme.grid.middle(parent.height, height)
                    width: Theme.bannerMark
                    height: Theme.bannerMark
                    colour: Inks.fills.of("cyan")
                    rim: Inks.rims.of("cyan")
                }

                Column {
                    id: words

                    anchors {
                        left: mark.right
                        leftMargin: Theme.bannerSpacing
                        right: dismiss.left
                        rightMargin: Theme.bannerSpacing
                    }
                    y: Theme.grid.middle(parent.height, height)
                    spacing: Theme.bannerLineSpacing

                    SpokenLabel {
                        objectName: "heading"
                        width: words.width
                        color: Inks.texts.of("primary")
                        font: Theme.bannerHeading
                        text: banner.content.banner.heading
                    }

                    SpokenLabel {
                        objectName: "subline"
                        width: words.width
                        color: Inks.texts.of("secondary")
                        font: Theme.bannerSubline
                        spoken: banner.content.banner.sublineSpoken
                        text: banner.content.banner.subline
                    }
                }

                PlainButton {
                    id: dismiss

                    objectName: "dismissBanner"
                    // It takes clicks in more than its padding.
                    anchors.right: parent.right
                    anchors.rightMargin: padding - horizontalPadding
                    y: Theme.grid.middle(parent.height, height)
                    leftInset: horizontalPadding - padding
                    rightInset: leftInset
                    topInset: topPadding - padding
                    bottomInset: bottomPadding - padding
                    horizontalPadding: verticalPadding
                    padding: Theme.bannerDismissPadding
                    tip: banner.content.banner.dismissTip
                    spoken: banner.content.banner.dismissTip
                    onClicked: banner.content.dismissWhatsNew()

                    contentItem: Symbol {
                        objectName: "cross"
                        bold: true
                        colour: Inks.texts.of(dismiss.hovered || dismiss.down ? "primary" : "secondary")
                        name: "xmark"
                        size: Theme.dismissSymbol
                    }
                }
            }

            Column {
                id: notes

                objectName: "notes"
                leftPadding: Theme.mirrored ? 0 : Theme.bannerNoteIndent
                rightPadding: Theme.bannerNoteIndent - leftPadding
                spacing: Theme.bannerNoteSpacing
                visible: banner.content.banner.notes.length > 0

                Repeater {
                    model: banner.content.banner.notes

                    Item {
                        id: note

                        required property string modelData

                        objectName: "note"
                        width: column.innerWidth - Theme.bannerNoteIndent
                        height: line.height
                        Accessible.ignored: !visible
                        Accessible.name: modelData
                        Accessible.role: Accessible.StaticText

                        // A capsule as long as it is high.
                        GaugeBar {
                            objectName: "dot"
                            anchors.left: parent.left
                            y: Theme.bannerDotTop
                            width: Theme.bannerDot
                            height: Theme.bannerDot
                            colour: Inks.fills.faint("cyan", Theme.bannerDotOpacity)
                            rim: Inks.rims.of("cyan")
                            fraction: 1
                            shortest: 0
                            trackColour: "transparent"
                        }

                        Label {
                            id: line

                            objectName: "line"
                            anchors {
                                left: parent.left
                                leftMargin: Theme.bannerDot + Theme.bannerDotSpacing
                                right: parent.right
                            }
                            color: Inks.texts.of("secondary")
                            font: Theme.bannerNote
                            maximumLineCount: 6 // a note may be of any length
                            text: note.modelData
                            wrapMode: Text.Wrap
                        }
                    }
                }
            }
        }
    }
}
