// korvel-sim SCENARIO.json: runs the program on a simulated machine and prints what the world saw.

#include <array>
#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>

#include <unistd.h>

#include <fmt/format.h>

#include "base/command_syntax.h"
#include "platform/posix/command_answer.h"
#include "platform/posix/whole_file.h"
#include "simulation/command_line.h"
#include "simulation/program.h"
#include "simulation/scenario.h"

namespace {

const korvel::CommandSyntax kSyntax = {
    "korvel-sim",
    "Runs the whole program on a simulated machine in virtual time, and prints what\n"
    "the world saw of it, one JSON object a line.",
    {{"", {}, "SCENARIO.json"}},
    {},
    {{"Exit status",
      {{"0", "the scenario came to its end"},
       {"1", "standard output could not be written"},
       {"2", "wrong usage, or a wrong scenario"},
       {"SIGABRT", "the program ended itself on purpose, as the last line says"}}}},
};

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
    const auto words = korvel::readCommand(kSyntax, {argv + 1, argv + argc});
    if (const auto status = korvel::platform::answerCommand(kSyntax, words, KORVEL_VERSION)) {
        return *status;
    }
    const auto scenario = korvel::simulation::loadScenario(words->operand);
    return scenario ? run(*scenario)
                    : korvel::simulation::complain("korvel-sim", words->operand, scenario.error());
}
