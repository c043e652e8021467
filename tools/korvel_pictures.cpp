// korvel-pictures SCENARIO.json: draws the popover at the end of a scenario, as script/pictures and
// the test that compares pictures ask for it.

#include <cstdlib>
#include <map>
#include <string>
#include <string_view>

#include <QApplication>
#include <QFile>

#include "base/command_syntax.h"
#include "platform/linux/session/environment.h"
#include "platform/posix/command_answer.h"
#include "simulation/command_line.h"
#include "tools/demo/pictures.h"

namespace {

using namespace korvel;
using namespace korvel::simulation;

// As the options spell them.
const std::map<std::string, double, std::less<>> kScales = {
    {"1", 1}, {"1.25", 1.25}, {"1.5", 1.5}, {"1.75", 1.75}, {"2", 2}, {"2.25", 2.25}};

bool isScale(std::string_view value) {
    return kScales.contains(value);
}

const CommandSyntax kSyntax = {
    "korvel-pictures",
    "Draws the popover at the end of a scenario, in light and dark colours.",
    {{"", {{"--to"}, {"--scale"}, {"--square"}, {"--focus"}, {"--click"}}, "SCENARIO.json"}},
    {{"--to", "BASE", "draw into BASE-light.png and BASE-dark.png, not picture-*.png"},
     {"--scale", "SCALE", "so many pixels for one of the program's, not 2", isScale},
     {"--square", "", "as where windows do not blend, without a shadow"},
     {"--focus", "NAME", "with the keyboard on the piece of that objectName"},
     {"--click", "NAME", "after a click on the button of that objectName"}},
    {{"Exit status",
      {{"0", "the pictures are drawn"},
       {"1", "they cannot be written, or there is no piece of that name"},
       {"2", "wrong usage, or a wrong scenario"}}}},
};

} // namespace

int main(int argc, char** argv) {
    const auto words = readCommand(kSyntax, {argv + 1, argv + argc});
    if (const auto status = platform::answerCommand(kSyntax, words, KORVEL_VERSION)) {
        return *status;
    }
    const auto scenario = loadScenario(words->operand);
    if (!scenario) {
        return simulation::complain("korvel-pictures", words->operand, scenario.error());
    }
    const auto given = [&words](std::string_view option, std::string_view otherwise) {
        const auto found = words->options.find(option);
        return found == words->options.end() ? std::string(otherwise) : found->second;
    };
    platform::prepareEnvironment();
    const PictureView view{.scale = kScales.at(given("--scale", "2")),
                           .shadowed = !words->has("--square"),
                           .focused = QString::fromStdString(given("--focus", "")),
                           .clicked = QString::fromStdString(given("--click", ""))};
    const PictureScreen screen(*scenario, view.scale);
    int argumentCount = 1;
    const QApplication application(argumentCount, argv);
    const std::string base = given("--to", "picture");
    if (!screen.valid() || !takePictures(*scenario, QFile::decodeName(base.c_str()), view)) {
        simulation::complain("korvel-pictures", "cannot draw " + base);
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
