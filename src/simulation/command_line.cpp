#include "simulation/command_line.h"

#include <array>
#include <cerrno>
#include <optional>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <fmt/format.h>

#include "platform/posix/file_descriptor.h"
#include "simulation/json_value.h"

namespace korvel::simulation {

namespace {

constexpr int kWrongUsage = 2;

std::optional<std::string> readFile(const char* path) {
    const platform::FileDescriptor file(::open(path, O_RDONLY | O_CLOEXEC));
    std::string content;
    std::array<char, 65536> buffer{};
    for (;;) {
        const ssize_t got = ::read(file.get(), buffer.data(), buffer.size());
        if (got > 0) {
            content.append(buffer.data(), static_cast<std::size_t>(got));
        } else if (got == 0) {
            return content;
        } else if (errno != EINTR) {
            return std::nullopt;
        }
    }
}

} // namespace

Scenario loadScenario(const char* path) {
    const std::optional<std::string> text = readFile(path);
    if (!text) {
        throw ScenarioError(fmt::format("cannot read {}", path));
    }
    try {
        return readScenario(*text);
    } catch (const ScenarioError& error) {
        throw ScenarioError(fmt::format("{}: {}", path, error.what()));
    }
}

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t put = ::write(descriptor, bytes.data(), bytes.size());
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(put));
    }
    return true;
}

int complain(std::string_view program, std::string_view text) {
    writeAll(STDERR_FILENO, fmt::format("{}: {}\n", program, text));
    return kWrongUsage;
}

int showUsage(std::string_view usage) {
    return complain("usage", usage);
}

} // namespace korvel::simulation
