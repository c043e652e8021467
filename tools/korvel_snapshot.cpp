// Prints one scored reading of this machine.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "core/metrics.h"
#include "platform/posix/child_processes.h"
#include "platform/posix/command_answer.h"
#include "report/self_check.h"
#include "report/snapshot_arguments.h"
#include "report/snapshot_metrics.h"
#include "report/snapshot_report.h"
#include "tools/local_machine.h"

namespace {

using namespace korvel;

std::string formatted(const Snapshot& snapshot, const SnapshotArguments& arguments,
                      Colours colours) {
    switch (arguments.format) {
    case SnapshotArguments::Format::json:
        return snapshotJson(snapshot) + "\n";
    case SnapshotArguments::Format::bar:
        return snapshotBarLine(snapshot, LocalMachine::inWords) + "\n";
    case SnapshotArguments::Format::prometheus:
        return snapshotMetrics(snapshot, arguments.once ? Rates::unknown : Rates::known,
                               KORVEL_VERSION);
    case SnapshotArguments::Format::report:
        break;
    }
    return snapshotReport(snapshot, colours, LocalMachine::inWords);
}

/// Writes at once, so that a bar sees each line as it comes. False: nobody reads any more.
bool print(const std::string& text) {
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
           std::fflush(stdout) == 0;
}

void sleepSeconds(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

Colours coloursOfOutput() {
    const char* noColor = std::getenv("NO_COLOR");
    const bool refused = noColor != nullptr && *noColor != '\0';
    return ::isatty(STDOUT_FILENO) == 1 && !refused ? Colours::ansi : Colours::plain;
}

} // namespace

int main(int argc, char** argv) {
    const auto words = readCommand(snapshotSyntax(), {argv + 1, argv + argc});
    if (const auto status = platform::answerCommand(snapshotSyntax(), words, KORVEL_VERSION)) {
        return *status;
    }
    const SnapshotArguments arguments = snapshotArguments(*words);
    LocalMachine machine;
    if (arguments.selfcheck) {
        platform::PosixChildProcesses children;
        const SelfCheck check = selfCheck(machine.comparisons(), machine.declarationFaults(),
                                          machine.toLookAt(), children);
        return print(check.text) && check.passed ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    Metrics& metrics = machine.metrics();

    Snapshot snapshot = metrics.snapshot();
    if (!arguments.once) {
        // Processor time is a difference of two readings.
        sleepSeconds(1);
        snapshot = metrics.snapshot();
    }
    const Colours colours = coloursOfOutput();
    bool printed = print(formatted(snapshot, arguments, colours));
    while (printed && arguments.watchInterval) {
        sleepSeconds(*arguments.watchInterval);
        printed = print(formatted(metrics.snapshot(), arguments, colours));
    }
    return printed ? EXIT_SUCCESS : EXIT_FAILURE;
}
