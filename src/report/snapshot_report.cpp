#include "report/snapshot_report.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <fmt/format.h>

#include "base/json_writer.h"
#include "core/snapshot.h"
#include "core/snapshot_json.h"
#include "report/printable.h"
#include "ui/content/palette.h"
#include "ui/content/score_sections.h"

namespace korvel {

namespace {

/// One of the palette's colours as the terminal has them.
std::string_view ansiCode(Ink color) {
    switch (color) {
    case Ink::good:
        return "\x1b[32m";
    case Ink::warn:
        return "\x1b[33m";
    default:
        return "\x1b[31m";
    }
}

class Painter {
  public:
    explicit Painter(Colours colours) : ansi_(colours == Colours::ansi) {}

    std::string paint(std::string_view code, std::string_view text) const {
        return ansi_ ? fmt::format("{}{}\x1b[0m", code, text) : std::string(text);
    }
    std::string bold(std::string_view text) const { return paint("\x1b[1m", text); }
    std::string dim(std::string_view text) const { return paint("\x1b[2m", text); }

  private:
    bool ansi_;
};

std::string machineLine(const Snapshot& snapshot) {
    return fmt::format("{} cores · {:.0f} GB · up {}", snapshot.cores, snapshot.memTotalGB,
                       snapshot.uptime);
}

std::string inWords(const Words& words, const std::string& text) {
    return words ? words(text) : text;
}

/// A line may be longer here than in the popover, so that it also says what the level rests on.
std::string detailOf(const ScoreFactor& factor, const Snapshot& snapshot, const Words& words) {
    const std::string detail = inWords(words, shownDetail(factor, snapshot));
    const bool hasNoStalls = factor.name == "Memory" && snapshot.unreported.memoryStall;
    return hasNoStalls ? fmt::format("{} · stalls {}", detail, kNotReported) : detail;
}

/// A text as Pango's markup shows it, which is what bars take a tooltip for.
std::string inMarkup(std::string_view text) {
    std::string safe;
    for (const char c : text) {
        switch (c) {
        case '&':
            safe += "&amp;";
            break;
        case '<':
            safe += "&lt;";
            break;
        case '>':
            safe += "&gt;";
            break;
        default:
            safe += c;
        }
    }
    return safe;
}

/// The names of what the machine has no figure for, as the member "unreported".
void writeUnreported(JsonWriter& json, const platform::Unreported& unreported) {
    const std::pair<const char*, bool> figures[] = {
        {"dataVolume", unreported.dataVolume},
        {"thermalState", unreported.thermalState},
        {"memoryStall", unreported.memoryStall},
        {"otherProcesses", unreported.otherProcesses},
    };
    json.key("unreported").beginArray();
    for (const auto& [name, missing] : figures) {
        if (missing) {
            json.value(name);
        }
    }
    json.endArray();
}

} // namespace

std::string snapshotReport(const Snapshot& snapshot, Colours colours, const Words& words) {
    const Painter painter(colours);
    const std::string score = fmt::format("{} {}", snapshot.score, snapshot.verdict);
    std::string report =
        fmt::format("{} {}\n{}\n\n", painter.paint(ansiCode(scoreColor(snapshot.score)), "●"),
                    painter.bold(score), painter.dim(machineLine(snapshot)));
    auto out = std::back_inserter(report);
    for (const ScoreFactor& factor : snapshot.factorsBySeverity()) {
        fmt::format_to(out, "{:<8} {:>4}  {}\n", factor.name, pointsLost(factor.lost()),
                       detailOf(factor, snapshot, words));
    }
    for (const std::string& alert : snapshot.alerts) {
        fmt::format_to(out, "\n{} {}", painter.paint(ansiCode(Ink::warn), "!"),
                       printable(inWords(words, alert)));
    }
    if (!snapshot.alerts.empty()) {
        report += '\n';
    }
    if (!snapshot.topProcs.empty() || snapshot.unreported.otherProcesses) {
        report += '\n';
    }
    for (const ProcInfo& process : snapshot.topProcs) {
        fmt::format_to(out, "{:>7.2f} GB  {} {}\n", process.gb, printable(process.name),
                       painter.dim(fmt::format("({})", process.id)));
    }
    if (snapshot.unreported.otherProcesses) {
        fmt::format_to(out, "{:>7}     processes of other users: {}\n", "", kNotReported);
    }
    return report;
}

std::string snapshotBarLine(const Snapshot& snapshot, const Words& words) {
    std::string tooltip = snapshot.verdict + "\n" + machineLine(snapshot);
    for (const std::string& alert : snapshot.alerts) {
        tooltip += '\n' + inMarkup(printable(inWords(words, alert)));
    }
    std::string styleClass = snapshot.verdict;
    std::transform(styleClass.begin(), styleClass.end(), styleClass.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    JsonWriter json;
    json.beginObject()
        .member("text", fmt::format("● {}", snapshot.score))
        .member("tooltip", tooltip)
        .member("class", styleClass)
        .member("percentage", snapshot.score)
        .endObject();
    return json.text();
}

std::string snapshotJson(const Snapshot& snapshot) {
    JsonWriter json;
    json.beginObject().member("schema", kSnapshotSchema);
    writeSnapshotMembers(json, snapshot);
    writeUnreported(json, snapshot.unreported);
    json.endObject();
    return json.text();
}

} // namespace korvel
