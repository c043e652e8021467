#include "core/snapshot_json.h"

#include <limits>

#include <gtest/gtest.h>

#include "base/json_writer.h"
#include "core/metrics.h"

namespace korvel {
namespace {

std::string text(const Snapshot& s) {
    JsonWriter json;
    json.beginObject();
    writeSnapshotMembers(json, s);
    json.endObject();
    return json.text();
}

TEST(SnapshotJson, EmptyReadingHasEveryKey) {
    EXPECT_EQ(text(Snapshot()),
              R"({"factors":[],"cpuPct":0,"memUsedGB":0,"memTotalGB":0,"memPct":0,)"
              R"("compressedGB":0,"memAvailableGB":0,"memPressure":1,"swapUsedGB":0,)"
              R"("swapTotalGB":0,"swapPct":0,"swappingNow":false,"diskFreeGB":0,"diskPct":0,)"
              R"("load1":0,"cores":1,"uptime":"","topProcs":[],"wardenOn":false,"thermal":0,)"
              R"("score":0,"verdict":"","alerts":[],"runaway":null,"worstFactor":null,)"
              R"("thermalLabel":"normal"})");
}

TEST(SnapshotJson, ScoredReadingShowsEveryValue) {
    Snapshot s;
    s.cpuPct = 12.5;
    s.memUsedGB = 8.25;
    s.memTotalGB = 16;
    s.memPct = 51.5625;
    s.compressedGB = 0.5;
    s.memAvailableGB = 4;
    s.memPressure = MemPressure::critical;
    s.swapUsedGB = 1;
    s.swapTotalGB = 2;
    s.swapPct = 50;
    s.swappingNow = true;
    s.diskFreeGB = 80;
    s.diskPct = 20;
    s.load1 = 0.1;
    s.cores = 8;
    s.uptime = "3d 4h";
    s.topProcs = {{77, "a \"b\"", 8.5}, {78, "c", 0.25}};
    s.wardenOn = true;
    s.thermal = static_cast<ThermalState>(7);
    Metrics::score(s);
    const std::string json = text(s);
    const std::string memory =
        R"({"name":"Memory","weight":0.26,"health":10,"lost":23.400000000000002,)"
        R"("detail":"4.0 GB free to use · macOS is out of room"})";
    for (const std::string& part :
         {R"({"factors":[)" + memory + R"(,{"name":"Swap")",
          std::string(R"("cpuPct":12.5,"memUsedGB":8.25,"memTotalGB":16,"memPct":51.5625,)"),
          std::string(R"("compressedGB":0.5,"memAvailableGB":4,"memPressure":4,"swapUsedGB":1,)"),
          std::string(R"("swapTotalGB":2,"swapPct":50,"swappingNow":true,"diskFreeGB":80,)"),
          std::string(R"("diskPct":20,"load1":0.1,"cores":8,"uptime":"3d 4h",)"),
          std::string(R"("topProcs":[{"id":77,"name":"a \"b\"","gb":8.5},{"id":78,"name":"c",)"),
          std::string(R"("wardenOn":true,"thermal":7,"score":45,"verdict":"Strained",)"),
          std::string(R"("alerts":["a \"b\" is holding 8.5GB","Memory is critically low. Quit )"),
          std::string(R"("runaway":{"id":77,"name":"a \"b\"","gb":8.5},)"),
          R"("worstFactor":)" + memory, std::string(R"("thermalLabel":"unknown"})")}) {
        EXPECT_NE(json.find(part), std::string::npos) << part << "\nin " << json;
    }
}

TEST(SnapshotJson, ShareOfNothingIsNull) {
    Snapshot s;
    s.diskPct = std::numeric_limits<double>::quiet_NaN();
    EXPECT_NE(text(s).find(R"("diskPct":null,)"), std::string::npos);
}

TEST(SnapshotJson, SameReadingsGiveTheSameBytes) {
    Snapshot one;
    Snapshot other;
    Metrics::score(one);
    Metrics::score(other);
    EXPECT_EQ(text(one), text(other));
}

} // namespace
} // namespace korvel
