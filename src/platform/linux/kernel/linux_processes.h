#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/kernel/meminfo_reader.h"
#include "platform/linux/kernel/process_table.h"
#include "platform/processes.h"

namespace korvel::platform {

/// Raises the number of files that the program may have open to the most that it is allowed, so
/// that a descriptor can be kept for each process. To be called once, before the first sample.
/// Children inherit the limit.
void raiseDescriptorLimit();

/// The process table of /proc.
///
/// Each process's statm is opened when the process is first seen and kept; further files are kept
/// for the few processes that are asked for more.
///
/// The footprint is anonymous memory, what of it is swapped out, and a part of the shared memory
/// that the process maps. What a fork shares with its parent is in both. What is swapped out or
/// shared is in another file, which costs several times as much to read. While swap is in use, it
/// is read when the process's other figures have changed, as they do when pages go out or come
/// back, and at every twelfth listing in any case, for the few changes that they do not show. Where
/// there is no swap in use, it is read only of a process whose file and shared pages, which are one
/// figure, are more than `kLeastShared`, when that figure leaves room for as much shared memory,
/// and at every twelfth listing.
///
/// Shared memory counts for who maps it, as `splitSharedMemory` divides it. In nobody's footprint
/// is what no process maps (a file in /dev/shm, a memfd that was only written to, buffers of a
/// graphics driver), what of it is swapped out, and huge pages, which are set aside for the whole
/// machine and do not come back to it when a process ends.
class LinuxProcesses final : public Processes {
  public:
    /// `root` is the folder that holds proc. At most `mostKept` descriptors are kept; 0 leaves it
    /// to the limit of the process, with room for the rest of the program. `meminfo` may be
    /// shared with the machine; without it the processes have one of their own.
    explicit LinuxProcesses(const std::string& root = "/", FileCalls& calls = FileCalls::system(),
                            std::size_t mostKept = 0,
                            std::shared_ptr<MeminfoReader> meminfo = nullptr);

    std::vector<std::int32_t> listAllPids() override; ///< ascending
    std::optional<std::uint64_t> physFootprint(std::int32_t pid) override;
    /// comm; where the kernel cut it at 15 bytes, the name in the command line that continues it.
    std::string name(std::int32_t pid) override;
    /// In clock ticks since the machine's start, so that a pid that is given away and back within a
    /// hundredth of a second is not told apart.
    std::optional<std::uint64_t> startTime(std::int32_t pid) override;
    void terminate(std::int32_t pid) override;
    void terminateIfSame(std::int32_t pid, std::optional<std::uint64_t> startTime) override;
    std::int32_t currentProcessIdentifier() override;
    /// Whether process 1 cannot be read, which is another user's everywhere but in some containers.
    bool hidesOthers() override;

    std::size_t keptDescriptors(); ///< how many are open for processes now

  private:
    std::optional<Statm> readStatm(KeptProcess& process);
    /// What a process maps of the shared memory, beside what it did.
    enum class Held { asBefore, anew, muchMore };
    /// Reads its status file if that may say something new.
    Held readStatus(KeptProcess& process, const Statm& statm);
    /// Finds all holders of shared memory, once a listing, and weighs them. `read`: whose figures
    /// are of now.
    void weighAll(const KeptProcess& read);
    /// Divides the shared memory among those who are known to map it.
    void weighHolders();
    std::optional<std::uint64_t> startTimeNow(std::int32_t pid);

    std::mutex mutex_;
    ProcessTable table_;
    const std::shared_ptr<MeminfoReader> meminfo_; ///< never null
    bool swapInUse_ = false;
    std::uint64_t shmem_ = 0; ///< the machine's shared memory, in bytes
    bool anyHolders_ = false; ///< at the last weighing
    std::uint32_t listings_ = 0;
    std::uint32_t weighedAt_ = 0; ///< the listing at which all were last looked at
    std::uint32_t lookedAt_ = 0;  ///< the listing at which process 1 was last looked for
    bool hidesOthers_ = false;
    std::uint32_t measuredAt_ = 0; ///< the listing at which a holder was last measured
};

} // namespace korvel::platform
