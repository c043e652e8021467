#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/kernel/kept_directory.h"
#include "platform/linux/kernel/process_texts.h"
#include "platform/linux/kernel/shared_memory.h"

namespace korvel::platform {

/// What has been found out about a process and holds for as long as it lives, or until it is asked
/// again.
struct ProcessFacts {
    Statm seen;                             ///< when the status file was read; all 0: not yet
    std::uint64_t swapped = 0;              ///< bytes, by the status file
    std::uint64_t shared = 0;               ///< RssShmem in bytes, by the status file
    std::unique_ptr<SharedHolding> holding; ///< of who maps much shared memory
    std::string shortName;                  ///< the comm that `longName` was made for
    std::string longName;
    std::optional<std::uint64_t> startTime; ///< as in the stat file
};

/// One process of the last listing, and the files of it that are kept open.
struct KeptProcess {
    std::int32_t pid = 0;
    FileDescriptor statm;
    FileDescriptor status;
    FileDescriptor comm;
    ProcessFacts facts;
};

/// The processes of /proc with their kept files.
///
/// Opening a file of /proc costs several times what reading it does, so files are opened when they
/// are first asked for and kept. A descriptor belongs to its process, across exec, and fails once
/// the process is gone, so a pid that is used again is told from its predecessor, and what was
/// known of that one is forgotten. Where descriptors run short, files are opened for each reading
/// instead.
///
/// Not for several threads at once. References to processes live until the next listing or `find`.
class ProcessTable {
  public:
    /// `root` is the folder that holds proc. At most `mostKept` descriptors are kept; 0 leaves it
    /// to the limit of the process, with room for the rest of the program.
    ProcessTable(const std::string& root, FileCalls& calls, std::size_t mostKept);

    /// The pids there are now, ascending; empty when the table cannot be read.
    std::vector<std::int32_t> list();

    /// Those of the last listing, by pid, and those that were asked for since.
    std::vector<KeptProcess>& processes() { return processes_; }
    KeptProcess& find(std::int32_t pid);

    /// A file of a process, from its start; it is kept open. Of a file beyond 8 KiB the beginning.
    /// nullopt when it cannot be read. The text lives until the next reading.
    std::optional<std::string_view> read(KeptProcess& process, FileDescriptor KeptProcess::*file,
                                         const char* name);
    /// The same of a file that is not kept.
    std::optional<std::string_view> readOnce(std::int32_t pid, const char* name);

    void close(FileDescriptor& file);

    std::size_t keptDescriptors() const { return kept_; }

  private:
    /// `pids` in order.
    void dropAllBut(const std::vector<std::int32_t>& pids);
    void addMissing(const std::vector<std::int32_t>& pids);
    std::optional<std::string_view> readSmall(int file);
    FileDescriptor open(std::int32_t pid, const char* name);
    void forget(KeptProcess& process);
    void shedDescriptors();

    FileCalls& calls_;
    KeptDirectory directory_;
    std::size_t mostKept_;
    std::size_t kept_ = 0;
    std::vector<KeptProcess> processes_; ///< by pid
    std::size_t next_ = 0;               ///< in `processes_`: where the next question is expected
    std::string buffer_;
};

} // namespace korvel::platform
