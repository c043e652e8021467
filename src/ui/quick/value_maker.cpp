#include "ui/quick/value_maker.h"

#include "ui/content/paintable.h"
#include "ui/content/spoken.h"

namespace korvel {

namespace {

/// The row that the block of the swap holders belongs to.
constexpr const char* kSwapLabel = "SWAP";

/// A process's own name or the like: as it is, but for what cannot be painted.
QString plain(const std::string& text) {
    return QString::fromStdString(paintable(text));
}

QString named(Ink ink) {
    const std::string_view text = name(ink);
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

FactorValue ValueMaker::of(const PopoverContent::FactorLine& line) const {
    FactorValue value;
    value.name = text(line.name);
    value.lost = text(line.lost);
    value.barFraction = line.barFraction;
    value.barColour = named(line.barColour);
    value.lostColour = named(line.lostColour);
    value.detail = text(line.detail);
    value.spoken = plain(spokenFactor(line, words_));
    return value;
}

StatusValue ValueMaker::of(const PopoverContent::StatusLine& line) const {
    StatusValue value;
    value.symbol = QString::fromStdString(line.symbol);
    value.colour = named(line.colour);
    value.words = text(line.text);
    value.textStyle = named(line.textStyle);
    return value;
}

MetricValue ValueMaker::of(const Row& row) const {
    MetricValue value;
    value.label = text(row.label);
    value.percent = text(row.percentText());
    value.barFraction = row.barFraction();
    value.colour = named(row.colour);
    value.detail = text(row.detail);
    value.hasSpark = row.spark.has_value();
    if (row.spark) {
        value.sparkColour = named(row.spark->colour);
        value.sparkValues = QList<qreal>(row.spark->values.begin(), row.spark->values.end());
    }
    value.holdsSwap = row.label == kSwapLabel;
    value.spoken = plain(spokenRow(row, words_));
    return value;
}

ProcessValue ValueMaker::of(const PopoverContent::ProcessLine& line) const {
    ProcessValue value;
    value.pid = line.id;
    value.name = plain(line.name);
    value.size = text(line.size);
    value.canQuit = line.quit.has_value();
    if (line.quit) {
        value.quit = plain(line.quit->label);
        value.tip = text(line.quit->tooltip);
        value.quitDescription = text(line.quit->description);
    }
    value.spoken = plain(spokenProcess(line));
    return value;
}

BannerValue ValueMaker::of(const PopoverContent::Banner& banner) const {
    BannerValue value;
    value.shown = true;
    value.heading = text(banner.heading);
    value.subline = text(banner.subline);
    value.sublineSpoken = plain(spokenText(words_(banner.subline)));
    for (const std::string& note : banner.notes) {
        value.notes.append(text(note));
    }
    value.dismissTip = text(PopoverContent::kDismiss);
    return value;
}

SpokenValue ValueMaker::spoken(const PopoverContent& content) const {
    const SpokenSections said = spokenSections(content, words_);
    SpokenValue value;
    value.opening = plain(said.opening);
    value.banner = plain(said.banner);
    value.header = plain(said.header);
    value.breakdown = plain(said.breakdown);
    value.status = plain(said.status);
    value.rows = plain(said.rows);
    value.heaviest = plain(said.heaviest);
    value.awake = plain(said.awake);
    value.footer = plain(said.footer);
    value.result = plain(said.result);
    return value;
}

HeaderValue ValueMaker::of(const PopoverContent::Header& header) const {
    HeaderValue value;
    value.score = static_cast<int>(header.score);
    value.number = QString::fromStdString(std::to_string(header.score));
    value.colour = named(header.colour);
    value.spoken = text(header.spoken);
    value.verdict = text(header.verdict);
    value.machine = text(header.line);
    value.machineSpoken = plain(spokenTime(spokenText(words_(header.line))));
    value.toggle = text(header.toggle);
    value.breakdownShown = header.breakdownShown;
    return value;
}

SwapHoldersValue ValueMaker::of(const PopoverContent::SwapHolders& block) const {
    SwapHoldersValue value;
    value.scanning = block.scanning;
    value.button = text(block.button);
    value.buttonDescription = text(PopoverContent::kFindHoldersDescription);
    value.note = text(block.note);
    return value;
}

AwakeValue ValueMaker::of(const PopoverContent::KeepAwake& keepAwake) const {
    AwakeValue value;
    value.label = text(PopoverContent::kKeepAwake);
    value.tip = text(PopoverContent::kKeepAwakeTooltip);
    if (const std::string held =
            awakeWords_ ? awakeWords_(keepAwake.display, keepAwake.system) : std::string();
        !held.empty()) {
        value.tip += QLatin1Char(' ') + plain(held);
    }
    value.on = keepAwake.on;
    value.remaining = text(keepAwake.remaining.value_or(std::string()));
    value.control = text(keepAwake.control);
    for (const PopoverContent::KeepAwake::Choice& choice : keepAwake.choices) {
        value.choices.append(text(choice.title));
    }
    return value;
}

UpdateValue ValueMaker::of(const PopoverContent::UpdateLine& line) const {
    using Line = PopoverContent::UpdateLine;
    UpdateValue value;
    value.shown = true;
    value.symbol = QString::fromStdString(line.symbol);
    value.colour = named(line.colour);
    value.spinning = line.progress == Line::Progress::spinning;
    value.progressing = line.progress == Line::Progress::determinate;
    value.progress = line.value;
    value.words = text(line.text);
    value.semibold = line.style == Line::Style::semibold;
    value.small = line.style == Line::Style::small;
    value.control = text(line.control);
    return value;
}

FooterValue ValueMaker::of(const PopoverContent::Footer& footer) const {
    FooterValue value;
    value.warden = text(footer.warden);
    value.wardenTip = text(footer.wardenTooltip);
    value.reclaim = text(footer.reclaim.text);
    value.reclaimAtRest = text(PopoverContent::ReclaimButton::kAtRest);
    value.reclaimSymbol = QString::fromStdString(footer.reclaim.symbol);
    value.reclaimSemibold = footer.reclaim.semibold;
    value.reclaimEnabled = footer.reclaim.action != PopoverContent::ReclaimButton::Action::none;
    value.dismissible = footer.reclaim.dismissible;
    value.dismiss = text(PopoverContent::kDismiss);
    value.quit = text(footer.quit);
    return value;
}

QString ValueMaker::text(const std::string& finished) const {
    return plain(words_(finished));
}

} // namespace korvel
