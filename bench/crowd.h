#pragma once

#include <string>

#include <sys/types.h>

namespace korvel::bench {

/// Processes that sleep, so that there are as many on the machine as asked for; they end with it.
class Crowd {
  public:
    /// `processes`: of the whole machine, this one's helper included.
    explicit Crowd(int processes);
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;
    ~Crowd();

    /// Why it is not there; empty: it is.
    const std::string& fault() const { return fault_; }

  private:
    std::string fault_;
    pid_t helper_ = -1;
    int held_ = -1; // its input: the crowd ends when that ends
};

/// How many processes there are on the machine.
int processesOnMachine();

} // namespace korvel::bench
