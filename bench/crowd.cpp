#include "crowd.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace korvel::bench {

int processesOnMachine() {
    int found = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const char first = entry.path().filename().native().front();
        found += first >= '1' && first <= '9' ? 1 : 0;
    }
    return found;
}

Crowd::Crowd(int processes) {
    const int missing = processes - processesOnMachine() - 1;
    if (missing <= 0) {
        return;
    }
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    if (::pipe2(input.data(), O_CLOEXEC) != 0) {
        fault_ = std::strerror(errno);
        return;
    }
    if (::pipe2(output.data(), O_CLOEXEC) != 0) {
        fault_ = std::strerror(errno);
        ::close(input[0]);
        ::close(input[1]);
        return;
    }
    const std::string count = std::to_string(missing);
    helper_ = ::fork();
    if (helper_ == 0) {
        ::dup2(input[0], STDIN_FILENO);
        ::dup2(output[1], STDOUT_FILENO);
        ::execl(KORVEL_CROWD, "korvel_crowd", count.c_str(), nullptr);
        ::_exit(EXIT_FAILURE);
    }
    const int forkFault = errno;
    ::close(input[0]);
    ::close(output[1]);
    held_ = input[1];
    if (helper_ < 0) {
        fault_ = std::strerror(forkFault);
    } else {
        char ready = 0;
        if (::read(output[0], &ready, 1) != 1) {
            fault_ = "not so many processes could be made";
        }
    }
    ::close(output[0]);
}

Crowd::~Crowd() {
    if (held_ >= 0) {
        ::close(held_);
    }
    if (helper_ > 0) {
        ::waitpid(helper_, nullptr, 0);
    }
}

} // namespace korvel::bench
