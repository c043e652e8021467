#include <memory>
#include <string>

#include "platform/backend_suite.h"
#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/linux_processes.h"

namespace korvel::platform {
namespace {

struct LinuxBackend {
    explicit LinuxBackend(const std::string& root, const std::string& dataPath)
        : machine(root, dataPath), processes(root) {}

    LinuxMachine machine;
    LinuxProcesses processes;
};

Backend::Instance instance(const std::string& root, const std::string& dataPath) {
    auto backend = std::make_shared<LinuxBackend>(root, dataPath);
    return {backend, backend->machine, backend->processes};
}

Backend backend(const std::string& name, const std::string& root) {
    return {name, [root] { return instance(root, "/"); },
            [] { return instance("/nowhere/at/all", "/nowhere/at/all"); }};
}

std::vector<Backend> backends() {
    const std::string fixtures = std::string(KORVEL_FIXTURES) + "/linux/";
    return {backend("ThisMachine", "/"), backend("Laptop", fixtures + "laptop"),
            backend("Server", fixtures + "server_128_processors"),
            backend("Container", fixtures + "container")};
}

INSTANTIATE_TEST_SUITE_P(Linux, BackendSuite, testing::ValuesIn(backends()), backendName);

} // namespace
} // namespace korvel::platform
