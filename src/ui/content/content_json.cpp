#include "ui/content/content_json.h"

#include "base/json_writer.h"
#include "ui/content/popover_content.h"

namespace korvel {

namespace {

void writeOptional(JsonWriter& json, const std::optional<std::string>& text) {
    if (text) {
        json.value(*text);
    } else {
        json.value(nullptr);
    }
}

void writeBreakdown(JsonWriter& json, const std::vector<PopoverContent::FactorLine>& lines) {
    json.beginArray();
    for (const PopoverContent::FactorLine& line : lines) {
        json.beginObject()
            .member("name", line.name)
            .member("lost", line.lost)
            .member("barFraction", line.barFraction)
            .member("barColour", name(line.barColour))
            .member("lostColour", name(line.lostColour))
            .member("detail", line.detail)
            .endObject();
    }
    json.endArray();
}

void writeRow(JsonWriter& json, const Row& row) {
    json.beginObject()
        .member("label", row.label)
        .member("pct", row.pct)
        .member("percentText", row.percentText())
        .member("barFraction", row.barFraction())
        .member("detail", row.detail)
        .member("colour", name(row.colour))
        .key("spark");
    if (!row.spark) {
        json.value(nullptr).endObject();
        return;
    }
    json.beginArray();
    for (const Point& point : row.spark->path(Spark::kFrame)) {
        json.beginArray().value(point.x).value(point.y).endArray();
    }
    json.endArray().endObject();
}

void writeProcesses(JsonWriter& json, const std::vector<PopoverContent::ProcessLine>& lines) {
    json.beginArray();
    for (const PopoverContent::ProcessLine& line : lines) {
        writeOptional(
            json.beginObject().member("name", line.name).member("size", line.size).key("quit"),
            line.quit ? std::optional(line.quit->tooltip) : std::nullopt);
        json.endObject();
    }
    json.endArray();
}

void writeKeepAwake(JsonWriter& json, const PopoverContent::KeepAwake& keepAwake) {
    writeOptional(json.beginObject().key("remaining"), keepAwake.remaining);
    json.key("control");
    if (keepAwake.choices.empty()) {
        json.value(keepAwake.control);
    } else {
        json.beginArray();
        for (const PopoverContent::KeepAwake::Choice& choice : keepAwake.choices) {
            json.value(choice.title);
        }
        json.endArray();
    }
    json.endObject();
}

void writeBanner(JsonWriter& json, const PopoverContent::Banner& banner) {
    json.beginObject()
        .member("heading", banner.heading)
        .member("subline", banner.subline)
        .key("notes")
        .beginArray();
    for (const std::string& note : banner.notes) {
        json.value(note);
    }
    json.endArray().endObject();
}

void writeUpdate(JsonWriter& json, const PopoverContent::UpdateLine& line) {
    const auto textOrNull = [](const std::string& text) {
        return text.empty() ? std::nullopt : std::optional(text);
    };
    writeOptional(json.beginObject().key("symbol"), textOrNull(line.symbol));
    json.member("text", line.text);
    writeOptional(json.key("control"), textOrNull(line.control));
    json.endObject();
}

} // namespace

void writeContentMembers(JsonWriter& json, const PopoverContent& content) {
    json.key("banner");
    if (content.banner) {
        writeBanner(json, *content.banner);
    } else {
        json.value(nullptr);
    }
    json.key("header")
        .beginObject()
        .member("score", content.header.score)
        .member("verdict", content.header.verdict)
        .member("line", content.header.line)
        .member("toggle", content.header.toggle)
        .endObject();
    json.key("breakdown");
    if (content.breakdown) {
        writeBreakdown(json, *content.breakdown);
    } else {
        json.value(nullptr);
    }
    json.key("status").beginArray();
    for (const PopoverContent::StatusLine& line : content.status) {
        json.beginObject()
            .member("symbol", line.symbol)
            .member("colour", name(line.colour))
            .member("text", line.text)
            .endObject();
    }
    json.endArray().key("rows").beginArray();
    for (const Row& row : content.rows) {
        writeRow(json, row);
    }
    json.endArray().key("swapHolders").beginObject();
    if (content.swapHolders.holders.empty()) {
        json.member("button", content.swapHolders.button);
    } else {
        json.key("holders");
        writeProcesses(json, content.swapHolders.holders);
        json.member("note", content.swapHolders.note);
    }
    json.endObject().key("heaviest");
    writeProcesses(json, content.heaviest);
    writeKeepAwake(json.key("keepAwake"), content.keepAwake);
    json.key("update");
    if (content.update) {
        writeUpdate(json, *content.update);
    } else {
        json.value(nullptr);
    }
    json.key("footer")
        .beginObject()
        .member("warden", content.footer.warden)
        .member("wardenTooltip", content.footer.wardenTooltip)
        .member("reclaim", content.footer.reclaim.text)
        .member("quit", content.footer.quit)
        .endObject();
    writeOptional(json.key("reclaimResult"), content.reclaimResult);
}

} // namespace korvel
