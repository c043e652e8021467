#include "platform/posix/child_processes.h"

#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/whole_file.h"

// Not every system's headers declare it.
// NOLINTNEXTLINE(readability-redundant-declaration)
extern char** environ;

namespace korvel::platform {

namespace {

/// What is done to the child's descriptors and signals before its program starts.
class SpawnSetup {
  public:
    explicit SpawnSetup(short moreFlags = 0) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
        // A signal that this program ignores or blocks must still reach its children.
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setsigmask(&attributes_, &none);
        int flags = moreFlags | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
#ifdef __APPLE__
        flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;
#endif
        posix_spawnattr_setflags(&attributes_, static_cast<short>(flags));
        posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;
    ~SpawnSetup() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }

    void direct(int stream, ChildStream where, int pipe) {
        if (where == ChildStream::capture) {
            posix_spawn_file_actions_adddup2(&actions_, pipe, stream);
        } else {
            posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_WRONLY, 0);
        }
    }

    /// Called last: closes all but the standard streams, whatever the libraries in this program
    /// have left open for children.
    void closeTheRest() {
#ifdef __GLIBC__
        posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
#endif
    }

    const posix_spawn_file_actions_t* actions() const {
        return &actions_;
    }
    const posix_spawnattr_t* attributes() const {
        return &attributes_;
    }

  private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

/// The descriptor itself, or a duplicate above the standard streams when it is one of them: a
/// program that was started without these gets their numbers for its own pipes.
FileDescriptor aboveStandardStreams(FileDescriptor descriptor) {
    if (descriptor.get() > STDERR_FILENO) {
        return descriptor;
    }
    return FileDescriptor(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

/// False: no descriptors left.
bool makePipe(FileDescriptor& readEnd, FileDescriptor& writeEnd) {
    std::array<int, 2> ends{-1, -1};
#ifdef __APPLE__
    if (::pipe(ends.data()) != 0) {
        return false;
    }
    // This system has no pipe2(). Children of ours get none of the others' descriptors; those that
    // a library starts are kept from the pipe as soon as can be.
    for (const int end : ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
#else
    // Close-on-exec from the first: another thread may be starting a child of its own.
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return false;
    }
#endif
    readEnd = aboveStandardStreams(FileDescriptor(ends[0]));
    writeEnd = aboveStandardStreams(FileDescriptor(ends[1]));
    return readEnd && writeEnd;
}

/// The words as a system call takes them, for as long as they live.
std::vector<char*> pointersTo(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// The number of the child; nullopt: it could not be started.
std::optional<pid_t> spawn(const std::string& executable, const std::vector<std::string>& arguments,
                           std::vector<std::string> environment, const SpawnSetup& setup) {
    std::vector<std::string> words{executable};
    words.insert(words.end(), arguments.begin(), arguments.end());
    pid_t child = 0;
    if (::posix_spawn(&child, executable.c_str(), setup.actions(), setup.attributes(),
                      pointersTo(words).data(), pointersTo(environment).data()) != 0) {
        return std::nullopt;
    }
    return child;
}

} // namespace

PosixChildProcesses::PosixChildProcesses() {
    for (char** variable = environ; variable && *variable; ++variable) {
        environment_.emplace_back(*variable);
    }
}

std::optional<ChildResult> PosixChildProcesses::run(const std::string& executable,
                                                    const std::vector<std::string>& arguments,
                                                    ChildStreams streams) {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
    if (!makePipe(readEnd, writeEnd)) {
        return std::nullopt;
    }
    SpawnSetup setup;
    setup.direct(STDOUT_FILENO, streams.standardOutput, writeEnd.get());
    setup.direct(STDERR_FILENO, streams.standardError, writeEnd.get());
    setup.closeTheRest();

    const std::optional<pid_t> child = spawn(executable, arguments, environment_, setup);
    if (!child) {
        return std::nullopt;
    }
    writeEnd.reset();
    // To its end before the wait: a child that fills the pipe would never exit.
    ChildResult result;
    readPieces(readEnd.get(), [&](std::string_view piece) {
        result.output += piece;
        return true;
    });
    int status = 0;
    while (::waitpid(*child, &status, 0) < 0 && errno == EINTR) {
    }
    result.status = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    return result;
}

bool PosixChildProcesses::start(const std::string& executable,
                                const std::vector<std::string>& arguments) {
    // In a session of its own: what ends this program's session does not end it.
    SpawnSetup setup(POSIX_SPAWN_SETSID);
    setup.direct(STDOUT_FILENO, ChildStream::discard, -1);
    setup.direct(STDERR_FILENO, ChildStream::discard, -1);
    setup.closeTheRest();
    return spawn(executable, arguments, environment_, setup).has_value();
}

} // namespace korvel::platform
