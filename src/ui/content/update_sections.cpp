#include "ui/content/update_sections.h"

#include "update/updater.h"
#include "update/whats_new.h"

namespace korvel {

namespace {

using Line = PopoverContent::UpdateLine;

} // namespace

std::optional<Line> updateLineOf(const Updater& updater) {
    using Case = Updater::State::Case;
    const Updater::State& state = *updater.state;
    Line line;
    switch (state.value) {
    case Case::idle:
    case Case::upToDate:
        return std::nullopt;
    case Case::checking:
        line.progress = Line::Progress::spinning;
        line.text = "Checking for updates…";
        break;
    case Case::available:
        line.symbol = "arrow.down.circle.fill";
        line.colour = Ink::cyan;
        line.text = "Version " + state.text + " is available";
        line.style = Line::Style::semibold;
        line.control = "Update";
        line.action = Line::Action::install;
        break;
    case Case::downloading:
        line.progress = Line::Progress::determinate;
        line.value = state.progress;
        line.text = "Downloading…";
        break;
    case Case::installing:
        line.progress = Line::Progress::spinning;
        line.text = "Verifying and installing…";
        break;
    case Case::readyToRelaunch:
        line.symbol = "checkmark.circle.fill";
        line.colour = Ink::good;
        line.text = "Update installed";
        line.control = "Relaunch";
        line.action = Line::Action::relaunch;
        break;
    case Case::failed:
        line.symbol = "exclamationmark.triangle.fill";
        line.colour = Ink::warn;
        line.text = state.text;
        line.style = Line::Style::small;
        break;
    }
    return line;
}

WhatsNewBanner::WhatsNewBanner() : wn(WhatsNew::shared()) {}

bool WhatsNewBanner::isShown() const {
    return wn->kind->value != WhatsNew::Kind::Case::none;
}

PopoverContent::Banner WhatsNewBanner::content() const {
    using Case = WhatsNew::Kind::Case;
    const WhatsNew::Kind& kind = *wn->kind;
    PopoverContent::Banner banner;
    banner.notes = *wn->notes;
    switch (kind.value) {
    case Case::installed:
        banner.heading = "Welcome to Korvel";
        banner.subline = "Version " + wn->version();
        break;
    case Case::updated:
        banner.heading = "Updated to " + wn->version();
        banner.subline =
            kind.from.empty() ? "What changed" : "Was " + kind.from + " · what changed";
        break;
    case Case::none:
        break;
    }
    return banner;
}

} // namespace korvel
