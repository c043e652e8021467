#include <cstdint>

#include <fmt/format.h>

#include "base/json_writer.h"
#include "base/utf8.h"
#include "swarm/event_tables.h"
#include "swarm/life.h"
#include "swarm/texts.h"

namespace korvel::swarm {

namespace {

using Text = std::string;

platform::SimulatedReadings& readings(Life& life) {
    return life.simulated().machine.readings;
}

constexpr const char* kTools[] = {"/usr/bin/vmmap", "/usr/bin/ditto", "/usr/bin/codesign",
                                  "/bin/sh", "/bin/bash"};

/// An event that makes a reading fail until it is set again.
template <auto Reading>
void fail(Life& life, const Arguments& /*n*/) {
    (readings(life).*Reading).fails = true;
}

void setMemory(Life& life, const Arguments& n) {
    auto& vm = readings(life).vm;
    vm.fails = false;
    vm->free_count = as<std::uint32_t>(n[0]);
    vm->inactive_count = as<std::uint32_t>(n[1]);
    vm->active_count = as<std::uint32_t>(n[2]);
    vm->compressor_page_count = as<std::uint32_t>(n[3]);
}

Text memoryScenario(const Arguments& n) {
    return fmt::format(R"("set": {{"vm": {{"free_count": {:.0f}, "inactive_count": {:.0f}, )"
                       R"("active_count": {:.0f}, "compressor_page_count": {:.0f}}}}})",
                       n[0], n[1], n[2], n[3]);
}

void setProcesses(Life& life, const Arguments& n) {
    life.simulated().processes.listingFails = false;
    life.simulated().processes.table = processTable(as<std::uint64_t>(n[0]), as<std::size_t>(n[1]));
}

Text processesScenario(const Arguments& n) {
    JsonWriter json;
    json.beginArray();
    for (const auto& process : processTable(as<std::uint64_t>(n[0]), as<std::size_t>(n[1]))) {
        json.beginObject().member("pid", process.pid).member("name", process.name);
        if (process.physFootprint) {
            json.member("phys_footprint", *process.physFootprint);
        }
        if (process.vmmap) {
            if (!isUtf8(*process.vmmap)) {
                return "";
            }
            json.member("vmmap", *process.vmmap);
        }
        json.endObject();
    }
    json.endArray();
    return R"("set": {"processes": )" + json.text() + "}";
}

void setScript(Life& life, const Arguments& n) {
    life.script() = {n[0] < 0 ? std::optional<Text>() : scriptTexts()[as<std::size_t>(n[0])].prints,
                     as<std::uint64_t>(n[2] * 1048576), n[1]};
}

Text scriptScenario(const Arguments& n) {
    if (n[0] < 0) {
        return R"("script": null)";
    }
    const Text& prints = scriptTexts()[as<std::size_t>(n[0])].prints;
    return isUtf8(prints) ? fmt::format(R"("script": {{"preview": {}, "seconds": {}, )"
                                        R"("frees": {}}})",
                                        jsonText(prints), n[1], as<std::uint64_t>(n[2] * 1048576))
                          : "";
}

/// A scenario's null, which makes that reading fail.
#define KORVEL_SWARM_NULL(NAME)                                                                    \
    [](const Arguments&) -> Text { return R"("set": {")" NAME R"(": null})"; }

} // namespace

std::vector<EventKind> machineKinds() {
    using R = platform::SimulatedReadings;
    return {
        {"load", 1,
         [](Life& life, const Arguments& n) {
             readings(life).load.set(std::array<double, 3>{n[0], n[0] / 2, n[0] / 3});
         },
         [](const Arguments& n) {
             return fmt::format(R"("set": {{"load": [{}, {}, {}]}})", n[0], n[0] / 2, n[0] / 3);
         }},
        {"load-fails", 0, fail<&R::load>, KORVEL_SWARM_NULL("load")},
        {"thermal", 1,
         [](Life& life, const Arguments& n) { readings(life).thermalState = as<int>(n[0]); },
         [](const Arguments& n) { return fmt::format(R"("set": {{"thermalState": {}}})", n[0]); }},
        {"pressure", 1,
         [](Life& life, const Arguments& n) {
             readings(life).pressureLevel.set(as<std::int32_t>(n[0]));
         },
         [](const Arguments& n) { return fmt::format(R"("set": {{"pressureLevel": {}}})", n[0]); }},
        {"pressure-fails", 0, fail<&R::pressureLevel>, KORVEL_SWARM_NULL("pressureLevel")},
        {"memory", 4, setMemory, memoryScenario},
        {"memory-fails", 0, fail<&R::vm>, KORVEL_SWARM_NULL("vm")},
        {"physical-memory", 1,
         [](Life& life, const Arguments& n) {
             readings(life).physicalMemory.value = as<std::uint64_t>(n[0]);
         },
         [](const Arguments& n) {
             return fmt::format(R"("set": {{"physicalMemory": {:.0f}}})", n[0]);
         }},
        {"processors", 1,
         [](Life& life, const Arguments& n) {
             readings(life).processorCount.value = as<int>(n[0]);
         },
         [](const Arguments& n) {
             return fmt::format(R"("set": {{"processorCount": {}}})", n[0]);
         }},
        {"swapouts", 1,
         [](Life& life, const Arguments& n) {
             readings(life).vm.fails = false;
             readings(life).vm->swapouts = as<std::uint64_t>(n[0]);
         },
         [](const Arguments& n) {
             return fmt::format(R"("set": {{"vm": {{"swapouts": {:.0f}}}}})", n[0]);
         }},
        {"swap", 2,
         [](Life& life, const Arguments& n) {
             readings(life).swap.set(
                 platform::SwapUsage{as<std::uint64_t>(n[0]), 0, as<std::uint64_t>(n[1])});
         },
         [](const Arguments& n) {
             return fmt::format(R"("set": {{"swap": {{"xsu_total": {:.0f}, "xsu_used": {:.0f}}}}})",
                                n[0], n[1]);
         }},
        {"swap-fails", 0, fail<&R::swap>, KORVEL_SWARM_NULL("swap")},
        {"volume", 3,
         [](Life& life, const Arguments& n) {
             readings(life).volume.set(platform::VolumeStatistics{
                 4096, as<std::uint64_t>(n[0]), as<std::uint64_t>(n[1]), as<std::uint64_t>(n[2])});
         },
         [](const Arguments& n) {
             return fmt::format(R"("set": {{"volume": {{"f_blocks": {:.0f}, "f_bfree": {:.0f}, )"
                                R"("f_bavail": {:.0f}}}}})",
                                n[0], n[1], n[2]);
         }},
        {"volume-fails", 0, fail<&R::volume>, KORVEL_SWARM_NULL("volume")},
        {"ticks", 4,
         [](Life& life, const Arguments& n) {
             using U = std::uint32_t;
             readings(life).cpuTicks.set(
                 platform::CpuTicks{as<U>(n[0]), as<U>(n[1]), as<U>(n[2]), as<U>(n[3])});
         },
         [](const Arguments& n) {
             return fmt::format(R"("set": {{"cpuTicks": [{:.0f}, {:.0f}, {:.0f}, {:.0f}]}})", n[0],
                                n[1], n[2], n[3]);
         }},
        {"ticks-fail", 0, fail<&R::cpuTicks>, KORVEL_SWARM_NULL("cpuTicks")},
        {"boot", 1,
         [](Life& life, const Arguments& n) {
             readings(life).bootTime.set(as<std::int64_t>(n[0]));
         },
         [](const Arguments& n) { return fmt::format(R"("set": {{"bootTime": {:.0f}}})", n[0]); }},
        {"boot-fails", 0, fail<&R::bootTime>, KORVEL_SWARM_NULL("bootTime")},
        {"processes", 2, setProcesses, processesScenario},
        {"processes-fail", 0,
         [](Life& life, const Arguments&) { life.simulated().processes.listingFails = true; },
         KORVEL_SWARM_NULL("processes")},
        {"agents", 1,
         [](Life& life, const Arguments& n) {
             life.around().agents = as<std::size_t>(n[0]);
             life.machine().agents.set(agentsTexts()[as<std::size_t>(n[0])].prints);
         },
         [](const Arguments& n) {
             return R"("set": {"agents": )" +
                    jsonText(agentsTexts()[as<std::size_t>(n[0])].prints) + "}";
         }},
        {"agents-fail", 0, [](Life& life, const Arguments&) { life.machine().agents.fails = true; },
         KORVEL_SWARM_NULL("agents")},
        {"tool-dies", 1,
         [](Life& life, const Arguments& n) {
             life.around().deadTools.insert(kTools[as<std::size_t>(n[0])]);
         },
         nullptr},
        {"tools-return", 0, [](Life& life, const Arguments&) { life.around().deadTools.clear(); },
         nullptr},
        {"maps-take", 1, [](Life& life, const Arguments& n) { life.around().mapTakes = n[0]; },
         nullptr},
        {"script", 3, setScript, scriptScenario},
    };
}

} // namespace korvel::swarm
