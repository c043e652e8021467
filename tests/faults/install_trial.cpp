// The updater with the program's own services for files, archive, signature and settings, and
// without a display or a network: what the trials of installations run as the program of their
// bundles.
//
//   korvel --start                what a launch does first; prints the build
//   korvel --install PEM FOLDER   checks and installs what is published in the folder, under that
//   root
//
// Prints each state of the updater on a line. Exit status 0: a new bundle is in place; 1: it is
// not.

#include <array>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <QString>
#include <QTemporaryFile>

#include "base/uuid.h"
#include "platform/digest.h"
#include "platform/http.h"
#include "platform/linux/session/settings_file.h"
#include "platform/linux/update/linux_bundle.h"
#include "platform/linux/update/linux_code_signature.h"
#include "platform/linux/update/linux_program_loader.h"
#include "platform/linux/update/zip_archive.h"
#include "platform/posix/child_processes.h"
#include "platform/posix/file_descriptor.h"
#include "platform/posix/file_manager.h"
#include "platform/posix/files.h"
#include "platform/posix/system_clock.h"
#include "platform/posix/whole_file.h"
#include "platform/posix/work_folder.h"
#include "platform/simulated/services.h"
#include "update/release.h"
#include "update/updater.h"

namespace {

using namespace korvel;

constexpr int kWrongUsage = 2;

/// Past all buffers, so that a trace of system calls has it in its place; and by a call that
/// nothing else makes, so that what is said is not disturbed.
void print(std::string line) {
    line += '\n';
    const iovec piece{line.data(), line.size()};
    static_cast<void>(::writev(STDOUT_FILENO, &piece, 1));
}

/// A system call that does nothing: what a trace finds the first and the last of a task by.
void mark(const char* name) {
    static_cast<void>(::access(name, F_OK));
}

/// The last part of a URL's path.
std::string nameIn(const std::string& url) {
    return url.substr(url.rfind('/') + 1);
}

/// A network of one folder: each URL leads to the file with the last part of its path.
class FolderHttp final : public platform::Http {
  public:
    FolderHttp(platform::RunLoop& runLoop, std::string folder)
        : runLoop_(runLoop), folder_(std::move(folder)) {}

    void get(const std::string& url, double /*timeout*/,
             std::function<void(std::optional<platform::HttpResponse>)> done) override {
        runLoop_.async([body = files_.read(pathOf(url)), done = std::move(done)] {
            done(body ? std::optional(platform::HttpResponse{200, *body}) : std::nullopt);
        });
    }

    /// Kept piece by piece as they come, in a file such as a download from the network has.
    void download(const std::string& url, const std::string& folder,
                  std::function<void(std::optional<platform::HttpDownload>)> done) override {
        runLoop_.async([from = pathOf(url), folder, done = std::move(done)] {
            const platform::FileDescriptor served(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
            QTemporaryFile kept(QString::fromStdString(folder) + QStringLiteral("/korvel-XXXXXX"));
            const bool whole =
                served && kept.open() &&
                platform::readPieces(served.get(), [&kept](std::string_view piece) {
                    return kept.write(piece.data(), std::ssize(piece)) == std::ssize(piece) &&
                           kept.flush();
                });
            if (!whole) {
                kept.remove();
                done(std::nullopt);
                return;
            }
            const std::string path = kept.fileName().toStdString();
            kept.close();
            done(platform::HttpDownload{200, path});
        });
    }

  private:
    std::string pathOf(const std::string& url) const { return folder_ + "/" + nameIn(url); }

    platform::RunLoop& runLoop_;
    std::string folder_;
    platform::PosixFiles files_;
};

/// A state in the words of a trace.
std::string wordsOf(const UpdaterState& state) {
    if (const auto* const failed = std::get_if<update_state::Failed>(&state)) {
        return "failed: " + failed->message;
    }
    if (const auto* const available = std::get_if<update_state::Available>(&state)) {
        return "available " + available->version;
    }
    constexpr std::array<const char*, 8> kNames = {"available",  "downloading",    "failed",
                                                   "idle",       "checking",       "upToDate",
                                                   "installing", "readyToRelaunch"};
    return kNames[state.index()];
}

int install(platform::LinuxBundle& bundle, const std::string& record, const std::string& root,
            const std::string& folder) {
    platform::SimulatedServices simulated;
    platform::PosixFiles files;
    platform::SystemClock clock;
    platform::PosixFileManager fileManager(record);
    platform::SystemDigest digest;
    platform::ZipArchive archive;
    platform::SettingsFile defaults;
    platform::PosixChildProcesses children;
    FolderHttp http(simulated.runLoop, folder);
    platform::LinuxCodeSignature signature(
        {.rootPem = files.read(root).value_or(""),
         .runningBuild = buildNumber(bundle.infoString("CFBundleVersion").value_or("")),
         .now = [&clock] { return static_cast<std::int64_t>(clock.now()); }});
    platform::LinuxProgramLoader programLoader(children, {.display = "offscreen"});
    const platform::Services services{.machine = simulated.machine,
                                      .processes = simulated.processes,
                                      .swappedMemory = simulated.swappedMemory,
                                      .agents = simulated.agents,
                                      .childProcesses = children,
                                      .clock = clock,
                                      .runLoop = simulated.runLoop,
                                      .files = files,
                                      .statusBar = simulated.statusBar,
                                      .defaults = defaults,
                                      .power = simulated.power,
                                      .notifications = simulated.notifications,
                                      .bundle = bundle,
                                      .http = http,
                                      .fileManager = fileManager,
                                      .digest = digest,
                                      .archive = archive,
                                      .codeSignature = signature,
                                      .programLoader = programLoader,
                                      .workspace = simulated.workspace};
    // The same name each time: so the same installation makes the same system calls.
    const auto updater = std::make_shared<Updater>(services, [] { return Uuid(); });
    updater->state.didSet = [&updater] { print(wordsOf(*updater->state)); };
    updater->check(true);
    simulated.runLoop.run();
    mark("korvel-install-begins");
    updater->installPending();
    simulated.runLoop.run();
    const bool ready = std::holds_alternative<update_state::ReadyToRelaunch>(*updater->state);
    mark("korvel-install-ended");
    // As the program ends: without destructors.
    std::_Exit(ready ? EXIT_SUCCESS : EXIT_FAILURE);
}

} // namespace

int main(int count, char** words) {
    const std::string record = platform::SettingsFile::folder() + "/update";
    mark("korvel-start-begins");
    platform::recoverWorkFolders(
        {.bundle = platform::LinuxBundle::around(platform::LinuxBundle::runningExecutable()),
         .temporary = platform::PosixFileManager().temporaryDirectory(),
         .record = record});
    mark("korvel-start-ended");
    const std::string executable = platform::LinuxBundle::runningExecutable();
    platform::LinuxBundle bundle(executable, {});
    if (count == 2 && std::string_view(words[1]) == "--start") {
        print("build " + bundle.infoString("CFBundleVersion").value_or("unknown"));
        return EXIT_SUCCESS;
    }
    if (count == 4 && std::string_view(words[1]) == "--install") {
        return install(bundle, record, words[2], words[3]);
    }
    print("usage: korvel --start | --install PEM FOLDER");
    return kWrongUsage;
}
