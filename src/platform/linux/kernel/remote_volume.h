#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include <sys/statvfs.h>

#include "platform/machine.h"

namespace korvel::platform {

/// statvfs(2) of a path; nullopt when it fails. It may take any time.
using AskVolume = std::function<std::optional<struct statvfs>(const std::string& path)>;

/// A volume whose file system waits for others, a server or a program, and may wait for ever. It is
/// asked on a thread of its own, which is made at the first question and sleeps between them. One
/// question is out at a time. Callable from any thread.
class RemoteVolume {
  public:
    /// `patience` is the longest that `read` waits.
    RemoteVolume(std::string path, AskVolume ask, std::chrono::milliseconds patience);
    RemoteVolume(const RemoteVolume&) = delete;
    RemoteVolume& operator=(const RemoteVolume&) = delete;
    /// Does not wait for an answer: a thread that does is left behind.
    ~RemoteVolume();

    /// Asks, unless a question is still out, and gives the newest answer. One that takes longer
    /// than the patience is not waited for, nor is any after it until one has come within that
    /// time: the answer is then that to an earlier call. nullopt when there was none yet, or when
    /// it was that the volume cannot be asked.
    std::optional<VolumeStatistics> read();

    /// The path leads to another volume from here on: what was answered is no longer given, and an
    /// answer to a question that is still out will not be.
    void forget();

  private:
    struct State;

    std::shared_ptr<State> state_; ///< shared with the thread, which may outlive this object
    std::thread thread_;
};

} // namespace korvel::platform
