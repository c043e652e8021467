#include "platform/linux/kernel/remote_volume.h"

#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <mutex>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "platform/linux/kernel/volume_statistics.h"

namespace korvel::platform {

struct RemoteVolume::State {
    State(std::string volumePath, AskVolume askVolume, std::chrono::milliseconds longestWait)
        : path(std::move(volumePath)), ask(std::move(askVolume)), patience(longestWait) {}

    const std::string path;
    const AskVolume ask;
    const std::chrono::milliseconds patience;

    std::mutex mutex; ///< guards what follows
    std::condition_variable changed;
    std::uint64_t asked = 0;     ///< number of the newest question
    std::uint64_t answered = 0;  ///< of the newest that has its answer
    std::uint64_t forgotten = 0; ///< of the newest whose answer is not wanted any more
    bool isQuick = true;         ///< the newest answer, where one is waited for, came in time
    bool ended = false;
    std::optional<VolumeStatistics> answer;

    void serve();
};

namespace {

/// A thread that waits in the kernel may outlive the program's end, and would hold its descriptors
/// open, among them the lock and the connections by which others see that the program runs. So it
/// has none, and no signal is handled here. Kernels before 5.9 leave it the descriptors.
void leaveToOthers() {
    constexpr unsigned kLast = ~0U;
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    ::close_range(0, kLast, CLOSE_RANGE_UNSHARE);
}

} // namespace

void RemoteVolume::State::serve() {
    using Clock = std::chrono::steady_clock;
    leaveToOthers();
    std::unique_lock lock(mutex);
    for (;;) {
        changed.wait(lock, [this] { return ended || answered < asked; });
        if (ended) {
            return;
        }
        lock.unlock();
        const Clock::time_point start = Clock::now();
        const std::optional<struct statvfs> volume = ask(path);
        const bool inTime = Clock::now() - start <= patience;
        lock.lock();
        answered = asked; // none is added while one is out
        isQuick = inTime;
        if (answered > forgotten) {
            answer = volume ? volumeStatistics(*volume) : std::nullopt;
        }
        changed.notify_all();
    }
}

RemoteVolume::RemoteVolume(std::string path, AskVolume ask, std::chrono::milliseconds patience)
    : state_(std::make_shared<State>(std::move(path), std::move(ask), patience)) {}

RemoteVolume::~RemoteVolume() {
    const bool waits = [this] {
        const std::lock_guard lock(state_->mutex);
        state_->ended = true;
        return state_->answered < state_->asked;
    }();
    state_->changed.notify_all();
    if (thread_.joinable()) {
        waits ? thread_.detach() : thread_.join();
    }
}

std::optional<VolumeStatistics> RemoteVolume::read() {
    State& state = *state_;
    std::unique_lock lock(state.mutex);
    if (!thread_.joinable()) {
        try {
            thread_ = std::thread([kept = state_] { kept->serve(); });
        } catch (const std::system_error&) {
            return std::nullopt; // no thread is to be had just now
        }
    }
    if (state.answered == state.asked) {
        ++state.asked;
        state.changed.notify_all();
    }
    if (state.isQuick) {
        state.isQuick =
            state.changed.wait_for(lock, state.patience, [&state, question = state.asked] {
                return state.answered >= question;
            });
    }
    return state.answer;
}

void RemoteVolume::forget() {
    const std::lock_guard lock(state_->mutex);
    state_->forgotten = state_->asked;
    state_->answer.reset();
}

} // namespace korvel::platform
