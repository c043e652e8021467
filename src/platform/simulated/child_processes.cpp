#include "platform/simulated/child_processes.h"

namespace korvel::platform {

std::optional<ChildResult> SimulatedChildProcesses::run(const std::string& executable,
                                                        const Arguments& arguments,
                                                        ChildStreams streamsOfRun) {
    runs.push_back({executable, arguments});
    streams.push_back(streamsOfRun);
    if (onRun) {
        onRun(runs.back());
    }
    const auto answer = answers.find(executable);
    return answer == answers.end() ? std::nullopt : answer->second(arguments);
}

bool SimulatedChildProcesses::start(const std::string& executable, const Arguments& arguments) {
    return run(executable, arguments, {}).has_value();
}

} // namespace korvel::platform
