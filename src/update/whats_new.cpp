#include "update/whats_new.h"

#include <algorithm>
#include <utility>

#include "platform/defaults.h"
#include "platform/run_loop.h"
#include "platform/services.h"
#include "update/updater.h"

namespace korvel {

namespace {

constexpr std::size_t kMostLines = 3;

const std::vector<std::string>& welcome() {
    static const std::vector<std::string> lines{
        "Your score lives in the menu bar. Click it for the detail.",
        "Amber or red names the one thing dragging it down.",
        "Nothing is uploaded and nothing runs as admin.",
    };
    return lines;
}

/// What goes at both ends of a line: Unicode's separators (the categories Z), tabs, the line breaks
/// but that at which lines are split, and what free text begins its lines with.
constexpr std::string_view kTrimmed[] = {
    " ",      "\t",     "\v",     "\f",     "\r",     "\u0085", "\u00a0", "\u1680", "\u2000",
    "\u2001", "\u2002", "\u2003", "\u2004", "\u2005", "\u2006", "\u2007", "\u2008", "\u2009",
    "\u200a", "\u2028", "\u2029", "\u202f", "\u205f", "\u3000", "-",      "–",      "*",
};

std::string_view trimmed(std::string_view text) {
    const auto cut = [&text] {
        for (const std::string_view character : kTrimmed) {
            if (text.starts_with(character)) {
                text.remove_prefix(character.size());
                return true;
            }
            if (text.ends_with(character)) {
                text.remove_suffix(character.size());
                return true;
            }
        }
        return false;
    };
    while (cut()) {
    }
    return text;
}

} // namespace

const std::shared_ptr<WhatsNew>& WhatsNew::shared() {
    static const std::shared_ptr<WhatsNew> whatsNew = [] {
        const std::shared_ptr<Updater>& updater = Updater::shared(); // fatal without services
        return std::make_shared<WhatsNew>(*platform::installedServices, updater);
    }();
    return whatsNew;
}

WhatsNew::WhatsNew(const platform::Services& services, std::shared_ptr<Updater> updater)
    : d(services.defaults), runLoop_(services.runLoop), updater_(std::move(updater)) {}

std::string WhatsNew::version() const {
    return updater_->currentVersion();
}

void WhatsNew::evaluate() {
    const std::int64_t seen = d.integer(seenBuildKey);
    if (seen == 0) {
        kind = Kind{Kind::Case::installed, ""};
        notes = welcome();
        return;
    }
    if (seen >= updater_->currentBuild()) {
        kind = Kind{};
        return;
    }
    kind = Kind{Kind::Case::updated, d.string(seenVersionKey)};
    if (const std::string handedOver = d.string(handoffKey); !handedOver.empty()) {
        notes = bullets(handedOver);
        d.remove(handoffKey);
        return;
    }
    runLoop_.async([weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->lookUpNotes();
        }
    });
}

void WhatsNew::lookUpNotes() {
    updater_->notesForCurrentVersion(
        [weak = weak_from_this()](const std::optional<std::string>& text) {
            const auto self = weak.lock();
            if (self && text && !text->empty()) {
                self->notes = bullets(*text);
            }
        });
}

bool WhatsNew::shouldAutoPresent() {
    if (kind->value == Kind::Case::none) {
        return false;
    }
    const std::int64_t current = updater_->currentBuild();
    if (d.integer(autoShownKey) == current) {
        return false;
    }
    d.set(autoShownKey, current);
    return true;
}

void WhatsNew::dismiss() {
    d.set(seenBuildKey, updater_->currentBuild());
    d.set(seenVersionKey, updater_->currentVersion());
    kind = Kind{};
}

std::vector<std::string> WhatsNew::bullets(std::string_view text) {
    constexpr std::string_view kBullet = "•";
    std::vector<std::string> lines;
    while (!text.empty() && lines.size() < kMostLines) {
        const std::size_t end = std::min({text.find('\n'), text.find(kBullet), text.size()});
        if (const std::string_view line = trimmed(text.substr(0, end)); !line.empty()) {
            lines.emplace_back(line);
        }
        text.remove_prefix(std::min(
            end + (text.substr(end).starts_with(kBullet) ? kBullet.size() : 1), text.size()));
    }
    return lines;
}

} // namespace korvel
