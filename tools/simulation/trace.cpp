#include "simulation/trace.h"

#include <utility>

#include "core/json_writer.h"
#include "core/snapshot_json.h"
#include "platform/status_bar.h"
#include "ui/content/palette.h"

namespace korvel::simulation {

namespace {

/// The longest text of a written file that is shown, in bytes.
constexpr std::size_t kLongestText = 65536;

/// The first bytes of `text`, without a character cut in two.
std::string_view beginning(std::string_view text) {
    if (text.size() <= kLongestText) {
        return text;
    }
    constexpr int kContinuationMask = 0xc0;
    constexpr int kContinuation = 0x80;
    std::size_t end = kLongestText;
    while (end > 0 && (text[end] & kContinuationMask) == kContinuation) {
        --end;
    }
    return text.substr(0, end);
}

void writeColour(JsonWriter& json, const platform::TitleRun& run) {
    json.key("colour");
    if (run.ink == platform::TitleInk::secondaryLabel) {
        json.value("secondary");
        return;
    }
    if (run.ink == platform::TitleInk::colour) {
        for (const PaletteColor color : {PaletteColor::cyan, PaletteColor::pink, PaletteColor::good,
                                         PaletteColor::warn, PaletteColor::bad}) {
            if (rgb(color) == run.colour) {
                json.value(name(color));
                return;
            }
        }
    }
    json.value(nullptr);
}

} // namespace

Trace::Trace(std::function<double()> elapsed, std::function<void(std::string_view)> print)
    : elapsed_(std::move(elapsed)), print_(std::move(print)) {}

template <typename WriteMembers>
void Trace::line(std::string_view what, WriteMembers writeMembers) {
    JsonWriter json;
    json.beginObject().member("t", elapsed_()).member("what", what);
    writeMembers(json);
    json.endObject();
    print_(json.text() + '\n');
}

void Trace::title(const platform::StatusTitle& title) {
    line("title", [&](JsonWriter& json) {
        json.member("text", title.text()).key("runs").beginArray();
        for (const platform::TitleRun& run : title.runs) {
            json.beginObject().member("text", run.text).member("size", run.size);
            writeColour(json, run);
            json.endObject();
        }
        json.endArray();
    });
}

void Trace::snapshot(const Snapshot& snapshot) {
    line("snapshot", [&](JsonWriter& json) { writeSnapshotMembers(json, snapshot); });
}

void Trace::wrote(std::string_view file, std::string_view bytes) {
    line("wrote", [&](JsonWriter& json) {
        json.member("file", file).member("bytes", bytes.size()).member("text", beginning(bytes));
    });
}

void Trace::popover(bool shown) {
    line("popover", [&](JsonWriter& json) { json.member("shown", shown); });
}

void Trace::spawn(const std::string& executable, const std::vector<std::string>& arguments) {
    line("spawn", [&](JsonWriter& json) {
        json.member("executable", executable).key("arguments").beginArray();
        for (const std::string& argument : arguments) {
            json.value(std::string_view(argument));
        }
        json.endArray();
    });
}

void Trace::exit(std::string_view reason) {
    line("exit", [&](JsonWriter& json) { json.member("reason", reason); });
}

} // namespace korvel::simulation
