#include "simulation/command_line.h"

#include <cstdint>
#include <limits>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <fmt/format.h>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/whole_file.h"
#include "simulation/json_value.h"

namespace korvel::simulation {

namespace {

constexpr int kWrongUsage = 2;

} // namespace

Scenario loadScenario(const char* path) {
    // Of any kind: a scenario may come through a pipe.
    const platform::FileDescriptor file(::open(path, O_RDONLY | O_CLOEXEC));
    const auto text = platform::readAll(file.get(), std::numeric_limits<std::uint64_t>::max());
    if (!text) {
        throw ScenarioError(fmt::format("cannot read {}", path));
    }
    try {
        return readScenario(*text);
    } catch (const ScenarioError& error) {
        throw ScenarioError(fmt::format("{}: {}", path, error.what()));
    }
}

int complain(std::string_view program, std::string_view text) {
    platform::writeAll(STDERR_FILENO, fmt::format("{}: {}\n", program, text));
    return kWrongUsage;
}

int showUsage(std::string_view usage) {
    return complain("usage", usage);
}

} // namespace korvel::simulation
