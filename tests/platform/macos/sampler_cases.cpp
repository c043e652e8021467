#include <algorithm>
#include <cstring>

#include "base/uuid.h"
#include "core/metrics.h"
#include "platform/agents.h"
#include "platform/macos/cases.h"
#include "platform/macos/macos_machine.h"
#include "platform/macos/macos_processes.h"

// The sampler itself on the kernel layer: which calls a sample makes, and in which order.
namespace korvel {

// Not the program's own, which keeps its generator in a thread-local variable, and these the JIT
// linker cannot make. No identity is looked at here.
Uuid Uuid::random() {
    return {};
}

} // namespace korvel

namespace korvel::standin {
namespace {

class NoAgents final : public platform::Agents {
  public:
    bool isLoaded(const std::string&) override {
        script->calls.emplace_back("isLoaded");
        return false;
    }
};

class StandingClock final : public platform::Clock {
  public:
    platform::Date now() override { return 1700003600; }
};

/// The program's sampler and what it samples.
struct Sampled {
    platform::MacosMachine machine{[] {
        script->calls.emplace_back("thermalState");
        return 2;
    }};
    platform::MacosProcesses processes;
    NoAgents agents;
    StandingClock clock;
    Metrics metrics{machine, processes, agents, clock};
};

template <typename Value>
Sysctl sysctl(const char* name, const Value& value) {
    Sysctl one{name, 0, std::string(sizeof(value), '\0'), sizeof(value)};
    std::memcpy(one.bytes.data(), &value, sizeof(value));
    return one;
}

/// A machine on which every call succeeds.
void healthyMachine() {
    script->vmWords[0] = 1 << 16;  // free: 1 GB of pages of 16 KiB
    script->vmWords[1] = 2 << 16;  // active
    script->vmWords[3] = 1 << 16;  // wire
    script->vmWords[32] = 1 << 16; // compressor
    script->sysctls = {
        sysctl("6.24", std::uint64_t{16} << 30),
        sysctl("6.3", 10),
        sysctl("kern.memorystatus_vm_pressure_level", 4),
        sysctl("vm.swapusage",
               std::array<std::uint64_t, 4>{std::uint64_t{4} << 30, 0, std::uint64_t{1} << 30, 0}),
        sysctl("1.21", std::array<std::int64_t, 2>{1700000000, 0}),
    };
    script->volume = {4096, std::uint64_t{1} << 26, std::uint64_t{1} << 25, std::uint64_t{1} << 25};
    script->load = {1.5, 1, 1};
    script->firstListing = 4;
    script->secondListing = 4;
    script->pids = {0, 501, 502, 503};
    script->footprints = {{501, std::uint64_t{2} << 30}, {502, 1 << 20}, {503, 3 << 28}};
    script->names = {{501, "heavy"}, {502, "light"}};
}

void aSampleMakesItsCallsInOrder() {
    healthyMachine();
    Sampled sampled;
    const Snapshot s = sampled.metrics.snapshot();
    EXPECT_EQUAL(script->calls, {"sysctl 6.24 size 8",
                                 "sysctl 6.3 size 4",
                                 "mach_host_self",
                                 "host_statistics64 flavor 4 count 62",
                                 "mach_port_deallocate",
                                 "sysctlbyname kern.memorystatus_vm_pressure_level size 4",
                                 "mach_host_self",
                                 "host_statistics flavor 3 count 4",
                                 "sysctl 6.3 size 4",
                                 "mach_port_deallocate",
                                 "sysctlbyname vm.swapusage size 32",
                                 "statfs /System/Volumes/Data",
                                 "getloadavg 3",
                                 "sysctl 1.21 size 16",
                                 "proc_listallpids null size 0",
                                 "proc_listallpids size 144",
                                 "proc_pid_rusage 501 flavor 2",
                                 "proc_name 501 size 256",
                                 "proc_pid_rusage 502 flavor 2",
                                 "proc_pid_rusage 503 flavor 2",
                                 "proc_name 503 size 256",
                                 "isLoaded",
                                 "thermalState"});
    EXPECT_EQUAL(s.memTotalGB, 16);
    EXPECT_EQUAL(s.memUsedGB, 4);
    EXPECT_EQUAL(s.memAvailableGB, 1);
    EXPECT_EQUAL(s.cores, 10);
    EXPECT_EQUAL(s.swapUsedGB, 1);
    EXPECT_EQUAL(s.diskFreeGB, 128);
    EXPECT_EQUAL(s.load1, 1.5);
    EXPECT_EQUAL(s.uptime, "1h 0m");
    EXPECT(s.memPressure == MemPressure::critical);
    EXPECT(s.thermal == ThermalState::serious);
    EXPECT_EQUAL(script->hostRights, 0);
}

void aHeavyProcessWithoutANameIsLeftOut() {
    healthyMachine();
    script->footprints[2].second = std::uint64_t{30} << 30; // 503 has no name
    Sampled sampled;
    const std::vector<ProcInfo> top = sampled.metrics.topProcesses();
    EXPECT_EQUAL(top.size(), 1U);
    EXPECT(!top.empty() && top[0].id == 501 && top[0].name == "heavy");
}

void aProcessThatVanishesIsNotAskedForItsName() {
    healthyMachine();
    script->footprints.clear();
    Sampled sampled;
    EXPECT(sampled.metrics.topProcesses().empty());
    EXPECT(std::none_of(script->calls.begin(), script->calls.end(),
                        [](const std::string& call) { return call.find("proc_name") == 0; }));
}

void withoutPageCountsThePressureIsNotAskedFor() {
    healthyMachine();
    script->vmResult = 5; // KERN_FAILURE
    Sampled sampled;
    const Snapshot s = sampled.metrics.snapshot();
    EXPECT(s.memPressure == MemPressure::normal);
    EXPECT_EQUAL(s.memUsedGB, 0);
    EXPECT(std::none_of(script->calls.begin(), script->calls.end(), [](const std::string& call) {
        return call.find("pressure_level") != std::string::npos;
    }));
}

void aMachineOnWhichEveryCallFailsIsStillSampled() {
    script->vmResult = 5;
    script->cpuResult = 5;
    script->statfsResult = -1;
    Sampled sampled;
    const Snapshot s = sampled.metrics.snapshot();
    EXPECT_EQUAL(s.memTotalGB, 0);
    EXPECT_EQUAL(s.cores, 1);
    EXPECT_EQUAL(s.cpuPct, 0);
    EXPECT_EQUAL(s.diskFreeGB, 0);
    EXPECT_EQUAL(s.load1, 0);
    EXPECT_EQUAL(s.uptime, "");
    EXPECT(s.topProcs.empty());
    EXPECT(!s.verdict.empty());
    EXPECT_EQUAL(script->hostRights, 0);
}

void processorTimeIsTheShareSinceTheSampleBefore() {
    constexpr std::uint32_t kLast = 0xFFFFFFFF;
    healthyMachine();
    Sampled sampled;
    script->cpuWords = {1000, 100, kLast - 399, 10};
    EXPECT_EQUAL(sampled.metrics.snapshot().cpuPct, 0);
    script->cpuWords = {1150, 140, 400, 20};
    EXPECT_EQUAL(sampled.metrics.snapshot().cpuPct, 20);
}

#define CASE(name)                                                                                 \
    Case {                                                                                         \
#name, name                                                                                \
    }

constexpr Case kCases[] = {
    CASE(aSampleMakesItsCallsInOrder),
    CASE(aHeavyProcessWithoutANameIsLeftOut),
    CASE(aProcessThatVanishesIsNotAskedForItsName),
    CASE(withoutPageCountsThePressureIsNotAskedFor),
    CASE(aMachineOnWhichEveryCallFailsIsStillSampled),
    CASE(processorTimeIsTheShareSinceTheSampleBefore),
};

} // namespace

Cases samplerCases() {
    return {kCases, std::size(kCases)};
}

} // namespace korvel::standin
