#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform {

/// The process table. Listing and reading may be done from any thread.
class Processes {
  public:
    virtual ~Processes() = default;

    /// Pids in the system's own order, possibly with a 0; empty when the table cannot be read.
    virtual std::vector<std::int32_t> listAllPids() = 0;

    /// Bytes that the system charges to the process; nullopt when it is gone or may not be read.
    virtual std::optional<std::uint64_t> physFootprint(std::int32_t pid) = 0;

    /// The short name as raw bytes: any encoding, at most 255 bytes, empty when it cannot be read.
    virtual std::string name(std::int32_t pid) = 0;

    /// Tells a process from others that have its pid before or after it: two numbers for one pid
    /// are equal for the same process only. Of no other meaning. It may be as old as the last
    /// `physFootprint` of the pid. nullopt when the process is gone, or where the system cannot
    /// tell.
    virtual std::optional<std::uint64_t> startTime(std::int32_t /*pid*/) { return std::nullopt; }

    /// Asks whoever has this pid now to end (SIGTERM). Whether it did is not reported.
    virtual void terminate(std::int32_t pid) = 0;

    /// Asks the process to end that `startTime` was told for. Nothing happens when the pid belongs
    /// to another by now, or when that cannot be told; only a table that tells no start times at
    /// all goes by the pid alone.
    virtual void terminateIfSame(std::int32_t pid, std::optional<std::uint64_t> /*startTime*/) {
        terminate(pid);
    }

    virtual std::int32_t currentProcessIdentifier() = 0;

    /// Whether the system keeps the processes of other users from this one, so that they are
    /// missing from the table. To be asked after a listing.
    virtual bool hidesOthers() { return false; }
};

} // namespace korvel::platform
