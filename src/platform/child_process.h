#pragma once

#include <optional>
#include <string>
#include <vector>

namespace korvel::platform {

/// Where one stream of a child goes.
enum class ChildStream {
    capture, ///< into `ChildResult::output`
    discard, ///< to the null device
};

struct ChildStreams {
    ChildStream standardOutput = ChildStream::capture;
    ChildStream standardError = ChildStream::discard;
};

struct ChildResult {
    std::string output; ///< raw bytes of the captured streams, in the order of writing
    int status = 0;     ///< exit status, or the negated number of the signal that ended it
};

/// Runs other programs.
class ChildProcesses {
  public:
    virtual ~ChildProcesses() = default;

    /// Starts `executable` (an absolute path) with `arguments`, without a shell and with the null
    /// device as its input, reads what is captured to its end, then waits for the exit. nullopt:
    /// it could not be started. Blocks the calling thread, which may be any.
    virtual std::optional<ChildResult> run(const std::string& executable,
                                           const std::vector<std::string>& arguments,
                                           ChildStreams streams) = 0;

    /// Starts it in the same way, with all of its streams at the null device, and leaves it to
    /// itself: it outlives this program. False: it could not be started.
    virtual bool start(const std::string& executable,
                       const std::vector<std::string>& arguments) = 0;
};

} // namespace korvel::platform
