import Korvel

// A line across the popover.
HairLine {
    implicitWidth: Theme.popoverWidth
    implicitHeight: 1
    colour: Inks.texts.track(Theme.dividerOpacity)
}
