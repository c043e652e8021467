#include "tools/local_machine.h"

#include <utility>

#include <fmt/format.h>

#include "core/metrics.h"
#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/linux_processes.h"
#include "platform/linux/session/systemd_query.h"
#include "platform/posix/files.h"
#include "platform/posix/system_clock.h"
#include "report/reading_texts.h"
#include "ui/content/linux_words.h"

namespace korvel {

struct LocalMachine::Parts {
    platform::PosixFiles files;
    platform::SystemClock clock;
    platform::LinuxMachine machine{"/", files.homeDirectory()};
    platform::LinuxProcesses processes;
    platform::SystemdQuery agents;
    Metrics metrics{machine, processes, agents, clock};
};

LocalMachine::LocalMachine() {
    platform::raiseDescriptorLimit();
    parts_ = std::make_unique<Parts>();
}

LocalMachine::~LocalMachine() = default;

Metrics& LocalMachine::metrics() {
    return parts_->metrics;
}

std::string LocalMachine::inWords(std::string text) {
    return linuxWords(std::move(text));
}

std::vector<Comparison> LocalMachine::comparisons() {
    // The kernel's own figures, where the tool for them is not installed.
    constexpr const char* kSensorFiles =
        "grep -s . /sys/class/thermal/thermal_zone*/temp /sys/class/hwmon/hwmon*/temp*_input";
    const auto reading = parts_->machine.read();
    ReadingTexts texts(*reading, parts_->processes);
    const std::string home = parts_->files.homeDirectory();
    const std::string label(Metrics::wardenLabel);
    const std::string agent = fmt::format("{}: {}", label, parts_->agents.isLoaded(label));
    return {
        {"physicalMemory", texts.physicalMemory(), "/usr/bin/free", {"--bytes"}, {"Mem:"}, true},
        {"processorCount",
         texts.processorCount(),
         "/usr/bin/getconf",
         {"_NPROCESSORS_ONLN"},
         {},
         true},
        {"pageSize", texts.pageSize(), "/usr/bin/getconf", {"PAGESIZE"}, {}, true},
        {"thermalState", texts.thermalState(), "/usr/bin/sensors", {}},
        {"thermalState", texts.thermalState(), "/bin/sh", {"-c", kSensorFiles}},
        {"memory", texts.memory(), "/usr/bin/free", {"--bytes"}, {"total", "Mem:"}},
        {"compressedMemory", texts.compressedMemory(), "/usr/sbin/zramctl", {"--bytes"}},
        {"vmStatistics", texts.vmStatistics(), "/usr/bin/vmstat", {"--stats"}, {"memory", "swap"}},
        {"memoryPressureLevel",
         texts.memoryPressureLevel(),
         "/usr/bin/cat",
         {"/proc/pressure/memory"}},
        {"swapUsage", texts.swapUsage(), "/usr/bin/free", {"--bytes"}, {"Swap:"}},
        {"dataVolume", texts.dataVolume(), "/usr/bin/df", {"--block-size=1", home}},
        {"cpuTicks", texts.cpuTicks(), "/usr/bin/vmstat", {"--stats"}, {"ticks"}},
        {"loadAverages", texts.loadAverages(), "/usr/bin/uptime", {}},
        {"bootTime", texts.bootTime(), "/usr/bin/uptime", {"--since"}},
        {"processes", texts.processes(), "/usr/bin/ps", {"-eo", "pid,rss,comm", "--sort=-rss"}},
        {"isLoaded", agent, "/usr/bin/systemctl", {"--user", "is-active", label + ".service"}},
    };
}

std::vector<std::string> LocalMachine::declarationFaults() {
    return {};
}

std::vector<std::string> LocalMachine::toLookAt() {
    return {};
}

} // namespace korvel
