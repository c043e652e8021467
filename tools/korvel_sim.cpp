// korvel-sim SCENARIO.json: runs the program on a simulated machine and prints what the world saw.

#include <array>
#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>

#include <unistd.h>

#include <fmt/format.h>

#include "platform/posix/whole_file.h"
#include "simulation/command_line.h"
#include "simulation/program.h"
#include "simulation/scenario.h"

namespace {

using korvel::platform::writeAll;
using korvel::simulation::SimulatedProgram;

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

int complain(std::string_view text) {
    return korvel::simulation::complain("korvel-sim", text);
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
        complain("cannot write to standard output");
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2 || *argv[1] == '-' || *argv[1] == '\0') {
        return korvel::simulation::showUsage("korvel-sim SCENARIO.json");
    }
    const auto scenario = korvel::simulation::loadScenario(argv[1]);
    return scenario ? run(*scenario)
                    : korvel::simulation::complain("korvel-sim", argv[1], scenario.error());
}
