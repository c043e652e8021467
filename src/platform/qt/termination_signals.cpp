#include "platform/qt/termination_signals.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include <QSocketNotifier>

namespace korvel::platform {

namespace {

// The only thing that a signal handler may do with a Qt program is to write into a pipe.
std::array<int, 2> signalPipe = {-1, -1};

extern "C" void wakeMainThread(int) {
    const int savedErrno = errno;
    const char byte = 0;
    // A full pipe already holds the news.
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
    errno = savedErrno;
}

bool openSignalPipe() {
#ifdef __APPLE__
    // This system has no pipe2(); the program has no other thread yet that could start a child.
    return ::pipe(signalPipe.data()) == 0 &&
           std::all_of(signalPipe.begin(), signalPipe.end(), [](int end) {
               return ::fcntl(end, F_SETFD, FD_CLOEXEC) == 0 &&
                      ::fcntl(end, F_SETFL, O_NONBLOCK) == 0;
           });
#else
    return ::pipe2(signalPipe.data(), O_CLOEXEC | O_NONBLOCK) == 0;
#endif
}

} // namespace

TerminationSignals::TerminationSignals() {
    std::signal(SIGXFSZ, SIG_IGN);
    if (!openSignalPipe()) {
        return; // the signals then end the program as they end any other
    }
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction action = {};
        if (number == SIGHUP && ::sigaction(number, nullptr, &action) == 0 &&
            action.sa_handler == SIG_IGN) {
            continue;
        }
        action = {};
        action.sa_handler = wakeMainThread;
        action.sa_flags = SA_RESTART;
        ::sigaction(number, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals() = default;

void TerminationSignals::notify(std::function<void()> received) {
    if (signalPipe[0] < 0) {
        return;
    }
    notifier_ = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [received = std::move(received)] {
                         std::array<char, 16> bytes;
                         while (::read(signalPipe[0], bytes.data(), bytes.size()) > 0) {
                         }
                         received();
                     });
}

} // namespace korvel::platform
