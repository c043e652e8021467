pragma ComponentBehavior: Bound

import QtQuick
import Korvel

// What each factor takes from the score.
Section {
    id: section

    required property PopoverBridge content

    sentence: content.spoken.breakdown
    bottomPadding: Theme.breakdownBottom
    spacing: Theme.factorSpacing

    Repeater {
        model: section.content.breakdown

        FactorLine {
            width: section.innerWidth
        }
    }

    SpokenLabel {
        objectName: "footnote"
        width: section.innerWidth
        indent: Theme.detailIndent
        topPadding: Theme.footnoteTop
        color: Inks.texts.of("tertiary")
        font: Theme.footnote
        text: section.content.footnote
    }
}
