#include "core/snapshot_json.h"

#include "base/json_writer.h"
#include "core/snapshot.h"

namespace korvel {

namespace {

void writeFactor(JsonWriter& json, const ScoreFactor& factor) {
    json.beginObject()
        .member("name", factor.name)
        .member("weight", factor.weight)
        .member("health", factor.health)
        .member("lost", factor.lost())
        .member("detail", factor.detail)
        .endObject();
}

template <typename Value>
void writeOptional(JsonWriter& json, const std::optional<Value>& value,
                   void (*write)(JsonWriter&, const Value&)) {
    if (value) {
        write(json, *value);
    } else {
        json.value(nullptr);
    }
}

} // namespace

void writeProcess(JsonWriter& json, const ProcInfo& process) {
    json.beginObject()
        .member("id", process.id)
        .member("name", process.name)
        .member("gb", process.gb)
        .endObject();
}

void writeSnapshotMembers(JsonWriter& json, const Snapshot& snapshot) {
    json.key("factors").beginArray();
    for (const ScoreFactor& factor : snapshot.factors) {
        writeFactor(json, factor);
    }
    json.endArray()
        .member("cpuPct", snapshot.cpuPct)
        .member("memUsedGB", snapshot.memUsedGB)
        .member("memTotalGB", snapshot.memTotalGB)
        .member("memPct", snapshot.memPct)
        .member("compressedGB", snapshot.compressedGB)
        .member("memAvailableGB", snapshot.memAvailableGB)
        .member("memPressure", static_cast<int>(snapshot.memPressure))
        .member("swapUsedGB", snapshot.swapUsedGB)
        .member("swapTotalGB", snapshot.swapTotalGB)
        .member("swapPct", snapshot.swapPct)
        .member("swappingNow", snapshot.swappingNow)
        .member("diskFreeGB", snapshot.diskFreeGB)
        .member("diskPct", snapshot.diskPct)
        .member("load1", snapshot.load1)
        .member("cores", snapshot.cores)
        .member("uptime", snapshot.uptime)
        .key("topProcs")
        .beginArray();
    for (const ProcInfo& process : snapshot.topProcs) {
        writeProcess(json, process);
    }
    json.endArray()
        .member("wardenOn", snapshot.wardenOn)
        .member("thermal", static_cast<int>(snapshot.thermal))
        .member("score", snapshot.score)
        .member("verdict", snapshot.verdict)
        .key("alerts")
        .beginArray();
    for (const std::string& alert : snapshot.alerts) {
        json.value(alert);
    }
    json.endArray().key("runaway");
    writeOptional(json, snapshot.runaway, writeProcess);
    json.key("worstFactor");
    writeOptional(json, snapshot.worstFactor(), writeFactor);
    json.member("thermalLabel", snapshot.thermalLabel());
}

} // namespace korvel
