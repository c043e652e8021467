#pragma once

#include <memory>
#include <string>
#include <vector>

#include "report/self_check.h"

namespace korvel {

class Metrics;

/// This machine's readings, by the services of the system that the program was built for.
class LocalMachine {
  public:
    LocalMachine();
    ~LocalMachine();
    LocalMachine(const LocalMachine&) = delete;
    LocalMachine& operator=(const LocalMachine&) = delete;

    Metrics& metrics();

    /// A text of the program, as this system's desktop says it.
    static std::string inWords(std::string text);

    /// Every reading, beside what the system's own tools say of it.
    std::vector<Comparison> comparisons();

    /// What the system's classes and methods differ in from what this program was built against, a
    /// sentence each; empty where nothing differs or nothing was declared.
    std::vector<std::string> declarationFaults();

    /// What only a person can see on this system; empty where nothing is left to be seen.
    std::vector<std::string> toLookAt();

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace korvel
