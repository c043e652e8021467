// korvel-sim SCENARIO.json: runs the program on a simulated machine and prints what the world saw.

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include <fmt/format.h>

#include "platform/posix/file_descriptor.h"
#include "simulation/json_value.h"
#include "simulation/program.h"
#include "simulation/scenario.h"

namespace {

using korvel::simulation::SimulatedProgram;

constexpr int kWrongUsage = 2;

/// False: it could not all be written.
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

/// The trace on its way to standard output.
class Output {
  public:
    void append(std::string_view line) {
        constexpr std::size_t kChunk = 65536;
        pending_ += line;
        if (pending_.size() >= kChunk) {
            flush();
        }
    }

    void flush() {
        failed_ = !writeAll(STDOUT_FILENO, pending_) || failed_;
        pending_.clear();
    }

    bool failed() const { return failed_; }

  private:
    std::string pending_;
    bool failed_ = false;
};

// For the signal handler, which has no other way to reach them.
Output* theOutput = nullptr;
const SimulatedProgram* theProgram = nullptr;

/// The program ends itself by abort() where it must not go on. The trace says so before it dies;
/// nothing here takes memory, which may be what went wrong.
void tellOfAbort(int /*signal*/) {
    std::array<char, 128> line{};
    const auto end = fmt::format_to_n(line.data(), line.size(),
                                      R"({{"t":{},"what":"exit","reason":"fatal"}})"
                                      "\n",
                                      theProgram->elapsed());
    theOutput->flush();
    writeAll(STDOUT_FILENO, {line.data(), end.size});
}

std::optional<std::string> readFile(const char* path) {
    const korvel::platform::FileDescriptor file(::open(path, O_RDONLY | O_CLOEXEC));
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

int complain(const std::string& text) {
    writeAll(STDERR_FILENO, text + '\n');
    return kWrongUsage;
}

int run(const korvel::simulation::Scenario& scenario) {
    Output output;
    SimulatedProgram program(scenario, [&](std::string_view line) { output.append(line); });
    theOutput = &output;
    theProgram = &program;
    std::signal(SIGABRT, tellOfAbort);
    program.run();
    std::signal(SIGABRT, SIG_DFL);
    output.flush();
    if (output.failed()) {
        complain("korvel-sim: cannot write to standard output");
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2 || *argv[1] == '-' || *argv[1] == '\0') {
        return complain("usage: korvel-sim SCENARIO.json");
    }
    const char* path = argv[1];
    const std::optional<std::string> text = readFile(path);
    if (!text) {
        return complain(fmt::format("korvel-sim: cannot read {}", path));
    }
    korvel::simulation::Scenario scenario;
    try {
        scenario = korvel::simulation::readScenario(*text);
    } catch (const korvel::simulation::ScenarioError& error) {
        return complain(fmt::format("korvel-sim: {}: {}", path, error.what()));
    }
    return run(scenario);
}
