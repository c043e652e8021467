#include "platform/linux/update/linux_program_loader.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "platform/linux/update/bundle_scan.h"
#include "platform/linux/update/elf_program.h"
#include "platform/linux/update/loader_trace.h"
#include "platform/posix/file_descriptor.h"
#include "platform/posix/whole_file.h"

namespace korvel::platform {

namespace {

constexpr const char* kProgramPlace = "Contents/Linux/korvel";
constexpr const char* kDisplayPlugins = "Contents/plugins/platforms";
constexpr std::size_t kLargestProgram = std::size_t{256} << 20; // bytes

/// What ends the loader when its time is over is killed with it, or gives the status of that.
bool timeIsOver(const ChildResult& listed) {
    return listed.status == -SIGKILL || listed.status == 128 + SIGKILL;
}

/// The beginning of a file, with its headers; "" when it cannot be read.
std::string beginningOf(const std::string& path) {
    constexpr std::size_t kEnough = 64; // bytes
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string bytes;
    readPieces(file.get(), [&](std::string_view piece) {
        bytes += piece;
        return bytes.size() < kEnough;
    });
    return bytes;
}

/// The path of the loader that the program asks for; "" where it needs none.
Result<std::string, LoadFault> interpreterOf(const std::string& bundle, const std::string& own) {
    const std::string example = beginningOf(own);
    if (example.empty()) {
        return Error{LoadFault::notTold};
    }
    const auto file = readInBundle(bundle, kProgramPlace, kLargestProgram);
    if (!file) {
        return Error{LoadFault::missing};
    }
    auto program = readElfProgram(*file, example);
    return program ? Result<std::string, LoadFault>(program->interpreter) : program.error();
}

/// The plugins for this kind of display, of which there is one for each way to paint on it.
std::vector<std::string> pluginsFor(const std::string& display, const std::string& folder) {
    namespace fs = std::filesystem;
    std::vector<std::string> paths;
    std::error_code ignored;
    for (fs::directory_iterator entry(folder, ignored), end; entry != end;
         entry.increment(ignored)) {
        const std::string name = entry->path().filename().string();
        if (name.starts_with("libq" + display) && name.ends_with(".so")) {
            paths.push_back(entry->path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

} // namespace

Status<LoadFault> LinuxProgramLoader::check(const std::string& bundle) {
    const auto interpreter = interpreterOf(bundle, options_.own);
    if (!interpreter) {
        return interpreter.error();
    }
    const std::string program = bundle + "/" + kProgramPlace;
    if (::access(program.c_str(), X_OK) != 0) {
        return Error{LoadFault::notStartable};
    }
    if (interpreter->empty()) {
        return {};
    }
    if (::access(interpreter->c_str(), X_OK) != 0) {
        return Error{LoadFault::interpreterMissing, *interpreter};
    }
    if (Status<LoadFault> loads = trace(*interpreter, program); !loads) {
        return loads;
    }
    return checkPlugin(bundle, *interpreter);
}

Status<LoadFault> LinuxProgramLoader::checkPlugin(const std::string& bundle,
                                                  const std::string& interpreter) {
    const std::string folder = bundle + "/" + kDisplayPlugins;
    if (options_.display.empty() || ::access(folder.c_str(), F_OK) != 0) {
        return {};
    }
    Status<LoadFault> first = Error{LoadFault::pluginMissing, options_.display};
    bool tried = false;
    for (const std::string& plugin : pluginsFor(options_.display, folder)) {
        Status<LoadFault> loads = trace(interpreter, plugin);
        if (loads) {
            return {};
        }
        first = tried ? first : loads;
        tried = true;
    }
    return first;
}

Status<LoadFault> LinuxProgramLoader::trace(const std::string& interpreter,
                                            const std::string& object) {
    // Some of what the environment may ask of the loader makes it relocate, which runs code of the
    // libraries, or print more.
    const auto listed = children_.run(
        "/usr/bin/env",
        {"-u", "LD_BIND_NOW", "-u", "LD_DEBUG", "-u", "LD_VERBOSE", "-u", "LD_WARN", "timeout",
         "-s", "KILL", fmt::format("{}", options_.patience), interpreter, "--list", object},
        {ChildStream::capture, ChildStream::capture});
    if (!listed || timeIsOver(*listed)) {
        return Error{LoadFault::notTold};
    }
    return readLoaderTrace(*listed, object);
}

} // namespace korvel::platform
