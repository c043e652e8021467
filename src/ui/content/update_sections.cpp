#include "ui/content/update_sections.h"

#include "update/updater.h"
#include "update/whats_new.h"

namespace korvel {

namespace {

using Line = PopoverContent::UpdateLine;

std::optional<Line> lineOf(const update_state::Idle&) {
    return std::nullopt;
}

std::optional<Line> lineOf(const update_state::UpToDate&) {
    return std::nullopt;
}

std::optional<Line> lineOf(const update_state::Checking&) {
    Line line;
    line.progress = Line::Progress::spinning;
    line.text = "Checking for updates…";
    return line;
}

std::optional<Line> lineOf(const update_state::Available& state) {
    Line line;
    line.symbol = "arrow.down.circle.fill";
    line.text = "Version " + state.version + " is available";
    line.style = Line::Style::semibold;
    line.control = "Update";
    line.action = Line::Action::install;
    return line;
}

std::optional<Line> lineOf(const update_state::Downloading& state) {
    Line line;
    line.progress = Line::Progress::determinate;
    line.value = state.progress;
    line.text = "Downloading…";
    return line;
}

std::optional<Line> lineOf(const update_state::Installing&) {
    Line line;
    line.progress = Line::Progress::spinning;
    line.text = "Verifying and installing…";
    return line;
}

std::optional<Line> lineOf(const update_state::ReadyToRelaunch&) {
    Line line;
    line.symbol = "checkmark.circle.fill";
    line.colour = Ink::good;
    line.text = "Update installed";
    line.control = "Relaunch";
    line.action = Line::Action::relaunch;
    return line;
}

std::optional<Line> lineOf(const update_state::Failed& state) {
    Line line;
    line.symbol = "exclamationmark.triangle.fill";
    line.colour = Ink::warn;
    line.text = state.message;
    line.style = Line::Style::small;
    return line;
}

} // namespace

std::optional<Line> updateLineOf(const Updater& updater) {
    return std::visit([](const auto& state) { return lineOf(state); }, *updater.state);
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
