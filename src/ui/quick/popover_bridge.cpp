#include "ui/quick/popover_bridge.h"

#include <string>
#include <utility>

#include "ui/content/content_view.h"
#include "ui/content/paintable.h"

namespace korvel {

namespace {

const QList<QByteArray> kFactorRoles{"name",      "lost",       "barFraction",
                                     "barColour", "lostColour", "detail"};
const QList<QByteArray> kStatusRoles{"symbol", "colour", "words", "textStyle"};
const QList<QByteArray> kRowRoles{"label",    "percentText", "barFraction", "detail",   "colour",
                                  "hasSpark", "sparkColour", "sparkValues", "holdsSwap"};
const QList<QByteArray> kProcessRoles{"pid", "name", "size", "canQuit", "tip"};

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

QString keyOf(const Uuid& id) {
    return QString::fromStdString(std::to_string(id.words[0]) + "-" + std::to_string(id.words[1]));
}

QString keyOf(std::int64_t number) {
    return QString::fromStdString(std::to_string(number));
}

} // namespace

PopoverBridge::PopoverBridge(ContentView& root, Words words)
    : root_(root), words_(std::move(words)),
      // Every reading makes its factors anew.
      breakdown_(kFactorRoles, KeyedListModel::Rows::reused, this),
      status_(kStatusRoles, KeyedListModel::Rows::own, this),
      rows_(kRowRoles, KeyedListModel::Rows::own, this),
      swapHolders_(kProcessRoles, KeyedListModel::Rows::own, this),
      heaviest_(kProcessRoles, KeyedListModel::Rows::own, this) {}

void PopoverBridge::setContent(const PopoverContent& content) {
    setBanner(content.banner);
    setHeader(content.header);
    setBreakdown(content.breakdown.value_or(std::vector<PopoverContent::FactorLine>()));
    setStatus(content.status);
    setRows(content.rows);
    set(scanningSwap_, content.swapHolders.scanning, &PopoverBridge::scanningSwapChanged);
    set(swapButton_, text(content.swapHolders.button), &PopoverBridge::swapButtonChanged);
    set(swapNote_, text(content.swapHolders.note), &PopoverBridge::swapNoteChanged);
    setProcesses(swapHolders_, content.swapHolders.holders);
    setProcesses(heaviest_, content.heaviest);
    setAwake(content.keepAwake);
    setUpdate(content.update);
    setFooter(content.footer);
    set(reclaimResult_, text(content.reclaimResult.value_or(std::string())),
        &PopoverBridge::reclaimResultChanged);
}

void PopoverBridge::dismissWhatsNew() {
    root_.dismissWhatsNew();
}

void PopoverBridge::toggleBreakdown() {
    root_.toggleBreakdown();
}

void PopoverBridge::findSwapHolders() {
    root_.findSwapHolders();
}

void PopoverBridge::quitProcess(int pid) {
    root_.quitProcess(pid);
}

void PopoverBridge::enableAwake(int choice) {
    if (choice >= 0 && static_cast<std::size_t>(choice) < choices_.size()) {
        root_.enableAwake(choices_[static_cast<std::size_t>(choice)].minutes);
    }
}

void PopoverBridge::disableAwake() {
    root_.disableAwake();
}

void PopoverBridge::pressUpdate() {
    root_.pressUpdate();
}

void PopoverBridge::pressReclaim() {
    root_.pressReclaim();
}

void PopoverBridge::dismissPreview() {
    root_.dismissReclaimPreview();
}

void PopoverBridge::terminate() {
    root_.terminate();
}

QString PopoverBridge::footnote() const {
    return text(PopoverContent::kFootnote);
}

QString PopoverBridge::heaviestCaption() const {
    return text(PopoverContent::kHeaviestCaption);
}

QString PopoverBridge::text(const std::string& finished) const {
    return plain(words_(finished));
}

template <typename T>
void PopoverBridge::set(T& member, T value, void (PopoverBridge::*changed)()) {
    if (member != value) {
        member = std::move(value);
        Q_EMIT(this->*changed)();
    }
}

void PopoverBridge::setBanner(const std::optional<PopoverContent::Banner>& banner) {
    BannerCard card = banner_;
    card.shown = banner.has_value();
    if (banner) {
        card.heading = text(banner->heading);
        card.subline = text(banner->subline);
        card.notes.clear();
        for (const std::string& note : banner->notes) {
            card.notes.append(text(note));
        }
        card.dismissTip = text(PopoverContent::kDismissTooltip);
    }
    set(banner_, std::move(card), &PopoverBridge::bannerChanged);
}

void PopoverBridge::setHeader(const PopoverContent::Header& header) {
    set(scoreColour_, named(header.colour), &PopoverBridge::scoreColourChanged);
    scoreText_ = keyOf(header.score);
    set(score_, static_cast<int>(header.score), &PopoverBridge::scoreChanged);
    set(verdict_, text(header.verdict), &PopoverBridge::verdictChanged);
    set(line_, text(header.line), &PopoverBridge::lineChanged);
    set(toggle_, text(header.toggle), &PopoverBridge::toggleChanged);
    set(breakdownShown_, header.breakdownShown, &PopoverBridge::breakdownShownChanged);
}

void PopoverBridge::setBreakdown(const std::vector<PopoverContent::FactorLine>& lines) {
    std::vector<KeyedListModel::Entry> entries;
    entries.reserve(lines.size());
    for (const PopoverContent::FactorLine& line : lines) {
        entries.push_back({keyOf(line.id),
                           {text(line.name), text(line.lost), line.barFraction,
                            named(line.barColour), named(line.lostColour), text(line.detail)}});
    }
    breakdown_.setEntries(std::move(entries));
}

void PopoverBridge::setStatus(const std::vector<PopoverContent::StatusLine>& lines) {
    std::vector<KeyedListModel::Entry> entries;
    entries.reserve(lines.size());
    for (const PopoverContent::StatusLine& line : lines) {
        entries.push_back({keyOf(static_cast<std::int64_t>(entries.size())),
                           {QString::fromStdString(line.symbol), named(line.colour),
                            text(line.text), named(line.textStyle)}});
    }
    status_.setEntries(std::move(entries));
}

void PopoverBridge::setRows(const std::vector<Row>& rows) {
    std::vector<KeyedListModel::Entry> entries;
    entries.reserve(rows.size());
    for (const Row& row : rows) {
        QList<qreal> values;
        if (row.spark) {
            values = QList<qreal>(row.spark->values.begin(), row.spark->values.end());
        }
        entries.push_back({QString::fromStdString(row.label),
                           {text(row.label), text(row.percentText()), row.barFraction(),
                            text(row.detail), named(row.colour), row.spark.has_value(),
                            row.spark ? named(row.spark->colour) : QString(),
                            QVariant::fromValue(values), row.label == kSwapLabel}});
    }
    rows_.setEntries(std::move(entries));
}

void PopoverBridge::setAwake(const PopoverContent::KeepAwake& keepAwake) {
    AwakeLine line;
    line.label = text(PopoverContent::kKeepAwake);
    line.tip = text(PopoverContent::kKeepAwakeTooltip);
    line.on = keepAwake.on;
    line.remaining = text(keepAwake.remaining.value_or(std::string()));
    line.control = text(keepAwake.control);
    for (const PopoverContent::KeepAwake::Choice& choice : keepAwake.choices) {
        line.choices.append(text(choice.title));
    }
    choices_ = keepAwake.choices;
    set(awake_, std::move(line), &PopoverBridge::awakeChanged);
}

void PopoverBridge::setUpdate(const std::optional<PopoverContent::UpdateLine>& line) {
    using Line = PopoverContent::UpdateLine;
    UpdateLine update;
    if (line) {
        update.shown = true;
        update.symbol = QString::fromStdString(line->symbol);
        update.colour = named(line->colour);
        update.spinning = line->progress == Line::Progress::spinning;
        update.progressing = line->progress == Line::Progress::determinate;
        update.progress = line->value;
        update.words = text(line->text);
        update.semibold = line->style == Line::Style::semibold;
        update.small = line->style == Line::Style::small;
        update.control = text(line->control);
    }
    set(update_, std::move(update), &PopoverBridge::updateChanged);
}

void PopoverBridge::setFooter(const PopoverContent::Footer& footer) {
    using Action = PopoverContent::ReclaimButton::Action;
    FooterLine line;
    line.warden = text(footer.warden);
    line.wardenTip = text(footer.wardenTooltip);
    line.reclaim = text(footer.reclaim.text);
    line.reclaimSymbol = QString::fromStdString(footer.reclaim.symbol);
    line.reclaimSemibold = footer.reclaim.semibold;
    line.reclaimEnabled = footer.reclaim.action != Action::none;
    line.dismissible = footer.reclaim.dismissible;
    line.quit = text(footer.quit);
    set(footer_, std::move(line), &PopoverBridge::footerChanged);
}

void PopoverBridge::setProcesses(KeyedListModel& list,
                                 const std::vector<PopoverContent::ProcessLine>& lines) {
    std::vector<KeyedListModel::Entry> entries;
    entries.reserve(lines.size());
    for (const PopoverContent::ProcessLine& line : lines) {
        entries.push_back({keyOf(line.id),
                           {line.id, plain(line.name), text(line.size), line.quit.has_value(),
                            text(line.quit.value_or(std::string()))}});
    }
    list.setEntries(std::move(entries));
}

} // namespace korvel
