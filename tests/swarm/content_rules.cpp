#include "swarm/content_rules.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "base/utf8.h"
#include "model/awake.h"
#include "model/model.h"
#include "support/strict_history.h"
#include "swarm/ledger.h"
#include "swarm/life.h"
#include "swarm/texts.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace korvel::swarm {

namespace {

using L = const Ledger&;
using Content = const PopoverContent&;

Ink inkOf(std::int64_t score) {
    return score >= 72 ? Ink::good : score >= 55 ? Ink::warn : Ink::bad;
}

/// What is left of a period, from the clock.
std::string remaining(L l) {
    if (!l.wishUntil) {
        return "on, indefinitely";
    }
    const double left = (*l.wishUntil - l.wall()) / 60;
    const long long minutes = std::max(static_cast<long long>(std::trunc(left)) + 1, 0LL);
    const std::string hours = std::to_string(minutes / 60) + "h";
    const std::string rest = std::to_string(minutes % 60) + "m";
    return "on for " +
           (minutes < 60        ? rest
            : minutes % 60 == 0 ? hours
                                : hours + " " + rest) +
           " more";
}

bool rightHeader(Content c, L l) {
    const Snapshot& snap = *l.model.snap;
    const std::string line = std::to_string(snap.cores) + " cores · " +
                             printed("%.0f GB · up ", snap.memTotalGB) + snap.uptime;
    return c.header.score == snap.score && c.header.colour == inkOf(snap.score) &&
           (l.publications == 0 || c.header.verdict == verdictFor(snap.score)) &&
           c.header.line == line && c.header.breakdownShown == l.breakdown &&
           c.header.toggle == (l.breakdown ? "hide breakdown" : "what's affecting this");
}

bool rightStatus(Content c, L l) {
    const Snapshot& snap = *l.model.snap;
    std::vector<std::string> texts = snap.alerts;
    if (texts.empty() && snap.score >= 72) {
        texts.emplace_back("All clear, nothing needs attention");
    } else if (texts.empty() && snap.factors.empty()) {
        texts.emplace_back("Nothing urgent");
    } else if (texts.empty()) {
        const Expected::Factor& worst = l.expected.factors[0];
        texts.push_back(snap.score >= 55
                            ? std::string("Nothing urgent. ") + worst.name +
                                  " is what's holding the score down (" + worst.detail + ")"
                            : std::string(worst.name) + " is what's dragging this down (" +
                                  worst.detail + ")");
    }
    return std::equal(c.status.begin(), c.status.end(), texts.begin(), texts.end(),
                      [](const auto& line, const std::string& text) { return line.text == text; });
}

bool rightBreakdown(Content c, L l) {
    if (!l.breakdown || !c.breakdown) {
        return !l.breakdown && !c.breakdown;
    }
    if (l.publications == 0) {
        return c.breakdown->empty();
    }
    return std::equal(c.breakdown->begin(), c.breakdown->end(), l.expected.factors.begin(),
                      l.expected.factors.end(),
                      [](const auto& line, const Expected::Factor& factor) {
                          const double lost = (100 - factor.health) * factor.weight;
                          return line.name == factor.name && line.detail == factor.detail &&
                                 line.lost == (lost < 0.5 ? "—" : "−" + printed("%.0f", lost)) &&
                                 near(line.barFraction, std::min(lost / 26, 1.0)) &&
                                 line.barColour == (lost > 8   ? Ink::bad
                                                    : lost > 3 ? Ink::warn
                                                               : Ink::good);
                      });
}

Ink gauge(double value, double warn, double bad) {
    return value >= bad ? Ink::bad : value >= warn ? Ink::warn : Ink::good;
}

bool rightSpark(const Row& row, L l, double HistoryPoint::*figure) {
    const History& history = *l.model.history;
    const std::size_t count = std::min<std::size_t>(history.size(), 60);
    return row.spark &&
           std::equal(row.spark->values.begin(), row.spark->values.end(),
                      history.end() - static_cast<std::ptrdiff_t>(count), history.end(),
                      [figure](double value, const HistoryPoint& point) {
                          return value == point.*figure;
                      });
}

bool rightRows(Content c, L l) {
    const Expected& e = l.expected;
    if (l.publications == 0) {
        return c.rows.size() == 5;
    }
    constexpr double kThermal[] = {15, 45, 80, 100};
    const bool known = e.thermal >= 0 && e.thermal <= 3;
    const struct {
        const char* label;
        double pct;
        std::string detail;
        Ink colour;
    } rows[] = {
        {"CPU", e.cpuPct,
         printed("load %.2f across ", e.load1) + std::to_string(e.cores) + " cores",
         gauge(e.cpuPct, 70, 90)},
        {"MEMORY", e.memPct,
         printed("%.1f GB free to use · ", e.memAvailableGB) + pressureWords(e.pressure),
         e.pressure == 4   ? Ink::bad
         : e.pressure == 2 ? Ink::warn
                           : Ink::good},
        {"SWAP", e.swapPct,
         e.swappingNow ? "actively paging, genuine pressure"
                       : printed("%.1f GB held · frees as apps quit", e.swapUsedGB),
         e.swappingNow ? Ink::bad : Ink::good},
        {"THERMAL", known ? kThermal[e.thermal] : 15,
         std::string("macOS thermal state: ") + thermalWords(e.thermal),
         e.thermal == 0   ? Ink::good
         : e.thermal == 1 ? Ink::warn
                          : Ink::bad},
        {"DISK", e.diskPct, whole(e.diskFreeGB) + " GB free", gauge(e.diskPct, 85, 93)},
    };
    return std::equal(c.rows.begin(), c.rows.end(), std::begin(rows), std::end(rows),
                      [](const Row& row, const auto& right) {
                          return row.label == right.label && near(row.pct, right.pct) &&
                                 row.detail == right.detail && row.colour == right.colour &&
                                 row.percentText() == whole(row.pct) + "%" &&
                                 near(row.barFraction(), std::min(right.pct / 100, 1.0));
                      }) &&
           rightSpark(c.rows[0], l, &HistoryPoint::cpu) &&
           rightSpark(c.rows[1], l, &HistoryPoint::mem);
}

/// A button for every process but the program.
bool rightProcesses(const std::vector<PopoverContent::ProcessLine>& lines,
                    const std::vector<ProcInfo>& processes, const char* format) {
    return std::equal(lines.begin(), lines.end(), processes.begin(), processes.end(),
                      [&](const auto& line, const ProcInfo& process) {
                          return line.id == process.id && line.name == process.name &&
                                 line.size == printed(format, process.gb) &&
                                 line.quit.has_value() == (process.id != 500);
                      });
}

bool rightHolders(Content c, L l) {
    const std::vector<ProcInfo>& holders = *l.model.swapHolders;
    const char* const button = !holders.empty() ? ""
                               : l.scan.begun   ? "checking…"
                                                : "what's holding it";
    return c.swapHolders.button == button &&
           rightProcesses(c.swapHolders.holders, holders, "%.1f GB") &&
           c.swapHolders.note.empty() == holders.empty();
}

bool rightKeepAwake(Content c, L l) {
    const PopoverContent::KeepAwake& line = c.keepAwake;
    if (l.wishOn) {
        return line.on && line.control == "Off" && line.choices.empty() &&
               line.remaining == remaining(l) &&
               (line.display || line.system) == !l.life.simulated().power.held.empty();
    }
    const std::optional<std::int64_t> minutes[] = {30, 60, 180, std::nullopt};
    return !line.on && line.control == "On" && !line.remaining &&
           std::equal(
               line.choices.begin(), line.choices.end(), std::begin(minutes), std::end(minutes),
               [](const auto& choice, const auto& expected) { return choice.minutes == expected; });
}

bool rightUpdate(Content c, L l) {
    using namespace update_state;
    using Action = PopoverContent::UpdateLine::Action;
    const UpdaterState& state = *l.updater.state;
    if (std::holds_alternative<Idle>(state) || std::holds_alternative<UpToDate>(state)) {
        return !c.update;
    }
    std::string text = "Checking for updates…";
    Action action = Action::none;
    if (const auto* const available = std::get_if<Available>(&state)) {
        text = "Version " + available->version + " is available";
        action = Action::install;
    } else if (std::holds_alternative<ReadyToRelaunch>(state)) {
        text = "Update installed";
        action = Action::relaunch;
    } else if (const auto* const failed = std::get_if<Failed>(&state)) {
        text = failed->message;
    } else if (std::holds_alternative<Downloading>(state)) {
        text = "Downloading…";
    }
    return c.update && c.update->text == text && c.update->action == action &&
           c.update->control.empty() == (action == Action::none);
}

bool rightFooter(Content c, L l) {
    using Action = PopoverContent::ReclaimButton::Action;
    const PopoverContent::ReclaimButton& button = c.footer.reclaim;
    const std::optional<std::string>& preview = *l.model.reclaimPreview;
    std::string text = "Reclaim";
    Action action = Action::preview;
    if (l.reclaim.begun) {
        text = "Clearing…";
        action = Action::none;
    } else if (preview) {
        text = "Clear " + *preview;
        action = Action::run;
    } else if (l.preview.begun) {
        text = "Scanning…";
        action = Action::none;
    }
    return button.text == text && button.action == action &&
           button.dismissible == (action == Action::run) &&
           c.footer.warden == (l.model.snap->wardenOn ? "Warden on" : "Warden off") &&
           c.footer.quit == "Quit Halden" && c.reclaimResult == *l.model.reclaimResult;
}

bool rightBanner(Content c, L l) {
    using Case = WhatsNew::Kind::Case;
    const Case kind = static_cast<Case>(l.expectedKind);
    if (kind == Case::none || !c.banner) {
        return (kind == Case::none) == !c.banner;
    }
    return c.banner->heading.starts_with(kind == Case::installed ? "Welcome to Korvel"
                                                                 : "Updated to ") &&
           (kind == Case::installed ? c.banner->notes.size() == 3 : true) &&
           c.banner->notes == *l.whatsNew.notes;
}

} // namespace

std::string wrongOf(Content c, L l) {
    const struct {
        const char* section;
        bool (*right)(Content, L);
    } sections[] = {
        {"the header", rightHeader},        {"the status lines", rightStatus},
        {"the breakdown", rightBreakdown},  {"the metric rows", rightRows},
        {"the swap holders", rightHolders}, {"keep-awake", rightKeepAwake},
        {"the update line", rightUpdate},   {"the footer", rightFooter},
        {"the greeting", rightBanner},
    };
    for (const auto& section : sections) {
        if (!section.right(c, l)) {
            return section.section;
        }
    }
    return rightProcesses(c.heaviest, l.model.snap->topProcs, "%.2f GB") ? ""
                                                                         : "the heaviest processes";
}

namespace {

bool isHistory(const std::string* text, const History& history) {
    using test::StrictHistory;
    const auto rows = text == nullptr ? std::nullopt : StrictHistory::read(*text);
    if (!rows) {
        return history.empty();
    }
    const std::size_t kept = std::min<std::size_t>(rows->size(), 43200);
    return std::equal(history.begin(), history.end(),
                      rows->end() - static_cast<std::ptrdiff_t>(kept), rows->end(),
                      [](const HistoryPoint& point, const std::vector<double>& row) {
                          return row.size() >= 3 && point.t == row[0] && point.cpu == row[1] &&
                                 point.mem == row[2];
                      });
}

} // namespace

bool foundHistory(L l) {
    const platform::SimulatedFiles& files = l.life.simulated().files;
    const auto found = files.contents.find(l.life.historyPath());
    const bool readable =
        found != files.contents.end() && !files.unreadable.contains(l.life.historyPath());
    return isHistory(readable ? &found->second : nullptr, *l.model.history);
}

bool savedHistory(L l) {
    const platform::SimulatedFiles& files = l.life.simulated().files;
    const auto found = files.contents.find(l.life.historyPath());
    return files.unwritable.contains(l.life.historyPath()) ||
           (found != files.contents.end() && isHistory(&found->second, *l.model.history));
}

} // namespace korvel::swarm
