#include "ui/quick/popover_bridge.h"

#include <string>
#include <utility>

#include "ui/content/content_view.h"

namespace korvel {

namespace {

using Content = PopoverContent;
using Rows = KeyedListModel::Rows;

QString keyOf(const Uuid& id) {
    return QString::fromStdString(std::to_string(id.words[0]) + "-" + std::to_string(id.words[1]));
}

QString keyOf(std::int64_t number) {
    return QString::fromStdString(std::to_string(number));
}

QString processKey(const Content::ProcessLine& line) {
    return keyOf(line.id);
}

} // namespace

PopoverBridge::PopoverBridge(ContentView& root, Words words, AwakeWords awakeWords)
    : root_(root), values_(std::move(words), std::move(awakeWords)),
      breakdown_(Rows::reused, this), // every reading makes its factors anew
      status_(Rows::own, this), rows_(Rows::own, this), swapHolders_(Rows::own, this),
      heaviest_(Rows::own, this) {}

void PopoverBridge::setContent(const PopoverContent& content) {
    set(spoken_, values_.spoken(content), &PopoverBridge::spokenChanged);
    BannerValue banner = content.banner ? values_.of(*content.banner) : banner_;
    banner.shown = content.banner.has_value();
    set(banner_, std::move(banner), &PopoverBridge::bannerChanged);
    set(header_, values_.of(content.header), &PopoverBridge::headerChanged);
    setList(breakdown_, content.breakdown.value_or(std::vector<Content::FactorLine>()),
            [](const Content::FactorLine& line) { return keyOf(line.id); });
    setList(status_, content.status, [place = std::int64_t{0}](const Content::StatusLine&) mutable {
        return keyOf(place++);
    });
    setList(rows_, content.rows, [](const Row& row) { return QString::fromStdString(row.label); });
    set(swapBlock_, values_.of(content.swapHolders), &PopoverBridge::swapBlockChanged);
    setList(swapHolders_, content.swapHolders.holders, processKey);
    setList(heaviest_, content.heaviest, processKey);
    choices_ = content.keepAwake.choices;
    set(awake_, values_.of(content.keepAwake), &PopoverBridge::awakeChanged);
    setUpdate(content);
    set(footer_, values_.of(content.footer), &PopoverBridge::footerChanged);
    set(reclaimResult_, values_.text(content.reclaimResult.value_or(std::string())),
        &PopoverBridge::reclaimResultChanged);
}

void PopoverBridge::setUpdate(const PopoverContent& content) {
    set(update_, content.update ? values_.of(*content.update) : UpdateValue(),
        &PopoverBridge::updateChanged);
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

void PopoverBridge::quitSwapHolder(int pid) {
    root_.quitSwapHolder(pid);
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
    return values_.text(PopoverContent::kFootnote);
}

QString PopoverBridge::heaviestCaption() const {
    return values_.text(PopoverContent::kHeaviestCaption);
}

template <typename Value>
void PopoverBridge::set(Value& member, Value value, void (PopoverBridge::*changed)()) {
    if (member != value) {
        member = std::move(value);
        Q_EMIT(this->*changed)();
    }
}

template <typename Line, typename Key>
void PopoverBridge::setList(KeyedListModel& list, const std::vector<Line>& lines, Key keyOf) {
    std::vector<KeyedListModel::Entry> entries;
    entries.reserve(lines.size());
    for (const Line& line : lines) {
        entries.push_back({keyOf(line), QVariant::fromValue(values_.of(line))});
    }
    list.setEntries(std::move(entries));
}

} // namespace korvel
