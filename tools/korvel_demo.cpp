// korvel-demo SCENARIO.json: opens the real tray item and popover on a simulated machine, in real
// time. With --pictures it draws the popover at the scenario's end instead.

#include <cstdlib>
#include <optional>
#include <string_view>

#include <QApplication>
#include <QDir>
#include <QFileInfo>

#include <fmt/format.h>

#include "platform/linux/session/environment.h"
#include "platform/qt/termination_signals.h"
#include "simulation/command_line.h"
#include "tools/demo/demo_program.h"
#include "tools/demo/pictures.h"

namespace {

using namespace korvel;
using namespace korvel::simulation;

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

struct Arguments {
    const char* scenario = nullptr;
    const char* pictures = nullptr; ///< the folder for them; none: no pictures
};

std::optional<Arguments> read(int argc, char** argv) {
    Arguments arguments;
    if (argc == 4 && std::string_view(argv[1]) == "--pictures") {
        arguments.pictures = argv[2];
    } else if (argc != 2) {
        return std::nullopt;
    }
    arguments.scenario = argv[argc - 1];
    if (*arguments.scenario == '-' || *arguments.scenario == '\0') {
        return std::nullopt;
    }
    return arguments;
}

int drawPictures(const Scenario& scenario, const Arguments& arguments, char** argv) {
    const PictureScreen screen(scenario);
    int argumentCount = 1;
    const QApplication application(argumentCount, argv);
    const QDir folder(QString::fromLocal8Bit(arguments.pictures));
    const QString name = QFileInfo(QString::fromLocal8Bit(arguments.scenario)).completeBaseName();
    if (!screen.valid() || !folder.mkpath(QStringLiteral(".")) ||
        !takePictures(scenario, folder.filePath(name))) {
        complain(fmt::format("cannot write pictures to {}", arguments.pictures));
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
    const std::optional<Arguments> arguments = read(argc, argv);
    if (!arguments) {
        return showUsage("korvel-demo [--pictures FOLDER] SCENARIO.json");
    }
    const auto scenario = loadScenario(arguments->scenario);
    if (!scenario) {
        return simulation::complain("korvel-demo", arguments->scenario, scenario.error());
    }
    qInstallMessageHandler(keepQuiet);
    platform::prepareEnvironment();
    return arguments->pictures ? drawPictures(*scenario, *arguments, argv) : show(*scenario, argv);
}
