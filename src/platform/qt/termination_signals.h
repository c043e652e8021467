#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

namespace korvel::platform {

/// Turns SIGTERM, SIGINT and SIGHUP into one call on the main thread. A SIGHUP that whoever started
/// the program has set to be ignored stays so. A write beyond the size that the process's files may
/// have fails from then on, and no longer ends the process. One object in a process.
class TerminationSignals {
  public:
    /// Takes hold of the signals; those that come before `notify` are kept for it.
    TerminationSignals();
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

    /// From now on calls `received` on a turn of the run loop for signals that came.
    void notify(std::function<void()> received);

  private:
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace korvel::platform
