#include "simulation/trace.h"

#include <csignal>
#include <utility>

#include "base/fatal.h"
#include "base/json_writer.h"
#include "base/overloaded.h"
#include "core/snapshot.h"
#include "core/snapshot_json.h"
#include "model/awake.h"
#include "model/model.h"
#include "platform/notifications.h"
#include "platform/simulated/power.h"
#include "platform/status_bar.h"
#include "ui/content/content_json.h"
#include "ui/content/popover_content.h"
#include "update/whats_new.h"

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

template <typename T>
void writeOptional(JsonWriter& json, const std::optional<T>& value) {
    if (value) {
        json.value(*value);
    } else {
        json.value(nullptr);
    }
}

const char* nameOf(WhatsNew::Kind::Case kind) {
    switch (kind) {
    case WhatsNew::Kind::Case::updated:
        return "updated";
    case WhatsNew::Kind::Case::none:
        return "none";
    case WhatsNew::Kind::Case::installed:
        return "installed";
    }
    fatal();
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
            json.beginObject().member("text", run.text).member("size", run.size).key("colour");
            if (run.inkName.empty()) {
                json.value(nullptr);
            } else {
                json.value(run.inkName);
            }
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

void Trace::signal(std::int32_t pid) {
    line("signal", [&](JsonWriter& json) { json.member("pid", pid).member("signal", SIGTERM); });
}

void Trace::content(const PopoverContent& content) {
    line("content", [&](JsonWriter& json) { writeContentMembers(json, content); });
}

void Trace::swapHolders(bool scanning, const std::vector<ProcInfo>& holders) {
    line("swapHolders", [&](JsonWriter& json) {
        json.member("scanning", scanning).key("holders").beginArray();
        for (const ProcInfo& holder : holders) {
            writeProcess(json, holder);
        }
        json.endArray();
    });
}

void Trace::notification(const platform::Notification& notification) {
    line("notification", [&](JsonWriter& json) {
        json.member("title", notification.title).member("body", notification.body);
    });
}

void Trace::defaults(const std::string& key, const platform::SimulatedDefaults::Value* value) {
    line("defaults", [&](JsonWriter& json) {
        json.member("key", key);
        if (value == nullptr) {
            json.member("type", "removed").member("value", nullptr);
            return;
        }
        const auto write = [&json](const char* type, const auto& held) {
            json.member("type", type).member("value", held);
        };
        const Overloaded writeValue{
            [&](std::int64_t held) { write("integer", held); },
            [&](double held) { write("double", held); },
            [&](bool held) { write("bool", held); },
            [&](const std::string& held) { write("string", held); },
        };
        std::visit(writeValue, *value);
    });
}

void Trace::assertion(const char* op, platform::PowerAssertionType type,
                      platform::PowerAssertionId id) {
    line("assertion", [&](JsonWriter& json) {
        json.member("op", op)
            .member("type", platform::SimulatedPower::typeName(type))
            .member("id", id);
    });
}

void Trace::awake(const Awake& awake) {
    line("awake", [&](JsonWriter& json) {
        json.member("on", *awake.on).key("until");
        writeOptional(json, *awake.until);
        json.member("label", awake.remainingLabel());
    });
}

void Trace::reclaim(const Model& model) {
    line("reclaim", [&](JsonWriter& json) {
        json.member("scanning", *model.scanning).member("reclaiming", *model.reclaiming);
        writeOptional(json.key("preview"), *model.reclaimPreview);
        writeOptional(json.key("result"), *model.reclaimResult);
    });
}

void Trace::updater(const Updater::State& state) {
    using namespace update_state;
    line("updater", [&](JsonWriter& json) {
        const auto write = [&json](const char* name, const auto& value) {
            json.member("state", name).member("value", value);
        };
        const Overloaded writeState{
            [&](const Available& of) { write("available", of.version); },
            [&](const Downloading& of) { write("downloading", of.progress); },
            [&](const Failed& of) { write("failed", of.message); },
            [&](const Idle&) { write("idle", nullptr); },
            [&](const Checking&) { write("checking", nullptr); },
            [&](const UpToDate&) { write("upToDate", nullptr); },
            [&](const Installing&) { write("installing", nullptr); },
            [&](const ReadyToRelaunch&) { write("readyToRelaunch", nullptr); },
        };
        std::visit(writeState, state);
    });
}

void Trace::whatsNew(const WhatsNew& whatsNew) {
    const WhatsNew::Kind& kind = *whatsNew.kind;
    line("whatsNew", [&](JsonWriter& json) {
        json.member("kind", nameOf(kind.value)).key("from");
        const bool updated = kind.value == WhatsNew::Kind::Case::updated;
        writeOptional(json, updated ? std::optional(kind.from) : std::nullopt);
        json.key("notes").beginArray();
        for (const std::string& note : *whatsNew.notes) {
            json.value(note);
        }
        json.endArray();
    });
}

void Trace::revealed(const std::string& path) {
    line("revealed", [&](JsonWriter& json) { json.member("path", path); });
}

void Trace::relaunched(const std::string& bundle) {
    line("relaunched", [&](JsonWriter& json) { json.member("path", bundle); });
}

void Trace::exit(std::string_view reason) {
    line("exit", [&](JsonWriter& json) { json.member("reason", reason); });
}

} // namespace korvel::simulation
