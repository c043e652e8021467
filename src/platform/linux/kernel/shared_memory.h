#pragma once

#include <cstdint>
#include <optional>
#include <vector>

// Shared anonymous memory (memfd, /dev/shm, System V, shared anonymous mappings) and who answers
// for how much of it. All sizes are in bytes.
namespace korvel::platform {

/// A process that maps less than this answers for none of it: 0.05 GB, under which no process is
/// listed, so that for most processes there is nothing to find out.
inline constexpr std::uint64_t kLeastShared = (std::uint64_t{1} << 30) / 20;

/// One process that maps much shared memory.
struct SharedHolding {
    std::int32_t pid = 0;
    std::int32_t parent = 0;      ///< 0: not known
    std::uint64_t resident = 0;   ///< what it maps that is in memory, in whole (RssShmem)
    std::uint64_t process = 0;    ///< the whole process's resident memory
    double fraction = 1;          ///< of `resident` that it answers for
    std::uint32_t measuredAt = 0; ///< the listing at which that was last tried; 0: never
    /// Then, of each page its part (Pss_Shmem); none: it may not be read.
    std::optional<std::uint64_t> proportional;
    std::uint64_t residentThen = 0;
    std::uint64_t allThen = 0; ///< of all holders

    std::uint64_t share() const {
        return static_cast<std::uint64_t>(fraction * static_cast<double>(resident));
    }
};

/// The sum of what each of them maps; more than there is where they share it.
std::uint64_t residentOfAll(const std::vector<SharedHolding*>& holders);

/// Whether to measure its proportional part at this listing: its own memory, or that of all
/// holders, has changed by more than an eighth since the last time, which is a minute ago at least.
/// To measure, the kernel walks the process's pages, 13 ms for a gigabyte, and holds up who maps or
/// unmaps meanwhile: so never a process of more than two, and none that is alone.
bool isMeasurementDue(const SharedHolding& holding, std::uint64_t all, std::uint32_t listing);

/// Sets the fraction of each so that together they answer for no more than `machine`, which is all
/// the shared memory that there is.
///
/// Who has been measured gets that part, grown with what it maps since. The rest is for the others,
/// whom nobody but their owner may measure. If it holds all that they map, nothing shows that they
/// share anything. If not, somebody does, and the likeliest are a parent and its children, who
/// inherit it: such a family is taken to share as much as is needed, at most all but its largest
/// part, before everyone's part is cut.
void splitSharedMemory(const std::vector<SharedHolding*>& holders, std::uint64_t machine);

} // namespace korvel::platform
