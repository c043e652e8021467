#include "platform/linux/kernel/spare_threads.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <latch>
#include <system_error>
#include <thread>
#include <vector>

#include <unistd.h>

namespace korvel::platform {

bool threadsAreToBeHad(int count) {
    const auto wanted = static_cast<std::size_t>(count);
    std::vector<std::atomic<pid_t>> ids(wanted);
    std::vector<std::thread> threads;
    threads.reserve(wanted);
    std::latch end(1);
    try {
        for (std::atomic<pid_t>& id : ids) {
            threads.emplace_back([&end, &id] {
                id = ::gettid();
                end.wait();
            });
        }
    } catch (const std::system_error&) { // this one is not to be had
    }
    end.count_down();
    for (std::thread& thread : threads) {
        thread.join();
    }
    // A thread that was joined is counted until the kernel knows it no more.
    constexpr std::chrono::microseconds kPause(20);
    for (std::size_t i = 0; i < threads.size(); ++i) {
        while (::tgkill(::getpid(), ids[i], 0) == 0) {
            std::this_thread::sleep_for(kPause);
        }
    }
    return threads.size() == wanted;
}

} // namespace korvel::platform
