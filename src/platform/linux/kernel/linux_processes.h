#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/kernel/kept_directory.h"
#include "platform/linux/kernel/kept_file.h"
#include "platform/processes.h"

namespace korvel::platform {

/// The first figures of a process's statm, in pages. All 0 for a kernel thread and for a zombie.
struct Statm {
    std::uint64_t size = 0; ///< of the address space
    std::uint64_t resident = 0;
    std::uint64_t shared = 0; ///< of the resident ones, those that belong to files or are shared

    std::uint64_t anonymous() const { return resident - (shared < resident ? shared : resident); }
    bool operator==(const Statm&) const = default;
};

/// nullopt when the line is malformed; what follows the third number is passed over.
std::optional<Statm> parseStatm(std::string_view text);

/// Raises the number of files that the program may have open to the most that it is allowed, so
/// that a descriptor can be kept for each process. To be called once, before the first sample.
/// Children inherit the limit.
void raiseDescriptorLimit();

/// The process table of /proc.
///
/// Opening a file of /proc costs several times what reading it does, so each process's statm is
/// opened when the process is first seen and kept; further files are kept for the few processes
/// that are asked for more. A descriptor belongs to its process, across exec, and fails once the
/// process is gone, so a pid that is used again is told from its predecessor. Where descriptors run
/// short, files are opened for each reading instead.
///
/// The footprint is anonymous memory plus what of it is swapped out. Shared memory is in nobody's
/// footprint, and what a fork shares with its parent is in both. What is swapped out is in another
/// file, which costs several times as much to read; while swap is in use, it is read when the
/// process's other figures have changed, as they do when pages go out or come back, and at every
/// twelfth listing in any case, for the few changes that they do not show.
class LinuxProcesses final : public Processes {
  public:
    /// `root` is the folder that holds proc. At most `mostKept` descriptors are kept; 0 leaves it
    /// to the limit of the process, with room for the rest of the program.
    explicit LinuxProcesses(const std::string& root = "/", FileCalls& calls = FileCalls::system(),
                            std::size_t mostKept = 0);

    std::vector<std::int32_t> listAllPids() override; ///< ascending
    std::optional<std::uint64_t> physFootprint(std::int32_t pid) override;
    /// comm; where the kernel cut it at 15 bytes, the name in the command line that continues it.
    std::string name(std::int32_t pid) override;
    void terminate(std::int32_t pid) override;
    std::int32_t currentProcessIdentifier() override;

    std::size_t keptDescriptors(); ///< how many are open for processes now

  private:
    struct Process {
        std::int32_t pid = 0;
        FileDescriptor statm;
        FileDescriptor status;
        FileDescriptor comm;
        Statm seen;                ///< when `swapped` was read
        std::uint64_t swapped = 0; ///< bytes
        std::string shortName;     ///< the comm that `longName` was made for
        std::string longName;
    };

    Process& find(std::int32_t pid);
    std::uint64_t swappedOut(Process& process, const Statm& statm);
    std::optional<std::string_view> read(Process& process, FileDescriptor Process::*file,
                                         const char* name);
    std::optional<std::string_view> readSmall(int file);
    FileDescriptor open(std::int32_t pid, const char* name);
    void forget(Process& process);
    void shedDescriptors();
    std::string lengthened(std::int32_t pid, std::string_view comm);

    std::mutex mutex_;
    FileCalls& calls_;
    KeptDirectory directory_;
    KeptFile meminfo_;
    std::size_t mostKept_;
    std::size_t kept_ = 0;
    bool swapInUse_ = false;
    std::uint32_t listings_ = 0;
    std::vector<Process> processes_; ///< by pid
    std::size_t next_ = 0;           ///< in `processes_`: where the next question is expected
    std::string buffer_;
};

} // namespace korvel::platform
