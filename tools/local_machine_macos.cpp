#include "tools/local_machine.h"

#include <fmt/format.h>

#include "core/inspection_tools.h"
#include "core/metrics.h"
#include "platform/identity.h"
#include "platform/macos/declared_selectors.h"
#include "platform/macos/desktop_facts.h"
#include "platform/macos/macos_machine.h"
#include "platform/macos/macos_processes.h"
#include "platform/macos/thermal_state.h"
#include "platform/posix/child_processes.h"
#include "platform/posix/system_clock.h"
#include "report/first_run.h"
#include "report/reading_texts.h"

namespace korvel {

namespace {

std::string screensText(const platform::DesktopFacts& facts) {
    return fmt::format("{}{}", facts.screens, facts.menuBarOnEach ? ", each with a menu bar" : "");
}

} // namespace

struct LocalMachine::Parts {
    platform::PosixChildProcesses children;
    platform::SystemClock clock;
    platform::MacosMachine machine{platform::thermalState};
    platform::MacosProcesses processes;
    LaunchctlAgents agents{children};
    VmmapSwappedMemory swappedMemory{children};
    Metrics metrics{machine, processes, agents, clock};
};

LocalMachine::LocalMachine() : parts_(std::make_unique<Parts>()) {}

LocalMachine::~LocalMachine() = default;

Metrics& LocalMachine::metrics() {
    return parts_->metrics;
}

std::string LocalMachine::inWords(std::string text) {
    return text;
}

std::vector<Comparison> LocalMachine::comparisons() {
    constexpr const char* kSysctl = "/usr/sbin/sysctl";
    constexpr const char* kAwakeKey = "awakeOn"; // as the program stores it
    const auto reading = parts_->machine.read();
    ReadingTexts texts(*reading, parts_->processes);
    const std::string self = fmt::format("{}", parts_->processes.currentProcessIdentifier());
    const std::string label(Metrics::wardenLabel);
    const double swapped =
        Metrics::swappedGB(parts_->processes.currentProcessIdentifier(), parts_->swappedMemory);
    const platform::DesktopFacts facts = platform::desktopFacts();
    const std::optional<bool> keepsAwake =
        platform::storedTruth(platform::kBundleIdentifier, kAwakeKey);
    return {
        {"physicalMemory", texts.physicalMemory(), kSysctl, {"-n", "hw.memsize"}, {}, true},
        {"processorCount", texts.processorCount(), kSysctl, {"-n", "hw.ncpu"}, {}, true},
        {"pageSize", texts.pageSize(), "/usr/bin/vm_stat", {}, {"page size"}, true},
        {"thermalState", texts.thermalState(), "/usr/bin/pmset", {"-g", "therm"}},
        {"vmStatistics", texts.vmStatistics(), "/usr/bin/vm_stat", {}, {"Pages", "Swapouts"}},
        {"memoryPressureLevel",
         texts.memoryPressureLevel(),
         kSysctl,
         {"-n", "kern.memorystatus_vm_pressure_level"}},
        {"swapUsage", texts.swapUsage(), kSysctl, {"-n", "vm.swapusage"}},
        {"dataVolume", texts.dataVolume(), "/bin/df", {"-k", "/System/Volumes/Data"}},
        {"cpuTicks", texts.cpuTicks(), "/usr/bin/top", {"-l", "1", "-n", "0"}, {"CPU usage"}},
        {"loadAverages", texts.loadAverages(), kSysctl, {"-n", "vm.loadavg"}},
        {"bootTime", texts.bootTime(), kSysctl, {"-n", "kern.boottime"}, {}, true},
        {"processes",
         texts.processes(),
         "/usr/bin/top",
         {"-l", "1", "-n", "5", "-o", "mem", "-stats", "pid,mem,command"}},
        {"swappedOut",
         fmt::format("{:.3f} GB of process {}", swapped, self),
         "/usr/bin/vmmap",
         {"--summary", self},
         {"Writable regions"}},
        {"isLoaded",
         fmt::format("{}: {}", label, parts_->agents.isLoaded(label)),
         "/bin/launchctl",
         {"list"},
         {"warden"}},
        {"screens",
         screensText(facts),
         "/usr/sbin/system_profiler",
         {"SPDisplaysDataType"},
         {"Resolution"}},
        {"frontApplication", facts.frontApplication, "/usr/bin/lsappinfo", {"visibleProcessList"}},
        {"settings",
         keepsAwake ? fmt::format("{} is {:d}", kAwakeKey, *keepsAwake) : "it is not stored",
         "/usr/bin/defaults",
         {"read", platform::kBundleIdentifier, kAwakeKey},
         {},
         keepsAwake.has_value()},
        {"keepAwake",
         "two lines while it is on, none otherwise",
         "/usr/bin/pmset",
         {"-g", "assertions"},
         {"Korvel keep awake"}},
    };
}

std::vector<std::string> LocalMachine::toLookAt() {
    return firstRunOnAMac();
}

std::vector<std::string> LocalMachine::declarationFaults() {
    using Answer = platform::SelectorReport::Answer;
    std::vector<std::string> faults;
    for (const auto& report : platform::askForDeclaredSelectors()) {
        const std::string method = report.className + " " + report.selector;
        switch (report.answer) {
        case Answer::ok:
            break;
        case Answer::classMissing:
            faults.push_back(report.className + " is missing");
            break;
        case Answer::selectorMissing:
            faults.push_back(method + " is missing");
            break;
        case Answer::encodingDiffers:
            faults.push_back(
                fmt::format("{} is {}, declared as {}", method, report.found, report.declared));
            break;
        }
    }
    return faults;
}

} // namespace korvel
