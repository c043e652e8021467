// korvel-demo SCENARIO.json: opens the real tray item and popover on a simulated machine, in real
// time. With --pictures it draws the popover at the scenario's end instead.

#include <cstdlib>
#include <string>
#include <string_view>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fmt/format.h>

#include "base/command_syntax.h"
#include "platform/linux/session/environment.h"
#include "platform/posix/command_answer.h"
#include "platform/qt/termination_signals.h"
#include "simulation/command_line.h"
#include "tools/demo/demo_program.h"
#include "tools/demo/pictures.h"

namespace {

using namespace korvel;
using namespace korvel::simulation;

constexpr const char* kPictures = "--pictures";

const CommandSyntax kSyntax = {
    "korvel-demo",
    "Opens the real tray item and popover on a simulated machine, in real time.",
    {{"", {{kPictures}}, "SCENARIO.json"}},
    {{kPictures, "FOLDER", "draw the popover at the end into that folder instead"}},
    {{"Exit status",
      {{"0", "it was quit, or the scenario came to its end"},
       {"1", "there is no display, or the pictures cannot be written"},
       {"2", "wrong usage, or a wrong scenario"}}}},
};

int complain(std::string_view text) {
    return simulation::complain("korvel-demo", text);
}

bool displayIsOpen = false;

/// Drops what Qt has to say, but for what it would abort after.
void keepQuiet(QtMsgType type, const QMessageLogContext&, const QString&) {
    if (type == QtFatalMsg) {
        complain(displayIsOpen ? "the display has gone" : "there is no display to open on");
        std::_Exit(EXIT_FAILURE);
    }
}

int drawPictures(const Scenario& scenario, const CommandWords& words, char** argv) {
    const PictureScreen screen(scenario, PictureView().scale);
    int argumentCount = 1;
    const QApplication application(argumentCount, argv);
    const std::string& pictures = words.options.at(kPictures);
    const QDir folder(QFile::decodeName(pictures.c_str()));
    const QString name = QFileInfo(QFile::decodeName(words.operand.c_str())).completeBaseName();
    if (!screen.valid() || !folder.mkpath(QStringLiteral(".")) ||
        !takePictures(scenario, folder.filePath(name))) {
        complain(fmt::format("cannot write pictures to {}", pictures));
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

int show(const Scenario& scenario, char** argv) {
    platform::TerminationSignals terminationSignals;
    int argumentCount = 1; // Qt has no command line here
    const QApplication application(argumentCount, argv);
    displayIsOpen = true;
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setApplicationName(QStringLiteral("korvel-demo"));
    QApplication::setApplicationDisplayName(QStringLiteral("Korvel"));

    DemoDesktop desktop(scenario);
    DemoProgram program(scenario, desktop);
    terminationSignals.notify([&program] { program.terminate(); });
    program.start();
    QApplication::exec();
    program.finish();
    std::_Exit(EXIT_SUCCESS); // a tray item that is taken down in order waits for the bus
}

} // namespace

int main(int argc, char** argv) {
    const auto words = readCommand(kSyntax, {argv + 1, argv + argc});
    if (const auto status = platform::answerCommand(kSyntax, words, KORVEL_VERSION)) {
        return *status;
    }
    const auto scenario = loadScenario(words->operand);
    if (!scenario) {
        return simulation::complain("korvel-demo", words->operand, scenario.error());
    }
    qInstallMessageHandler(keepQuiet);
    platform::prepareEnvironment();
    return words->has(kPictures) ? drawPictures(*scenario, *words, argv) : show(*scenario, argv);
}
