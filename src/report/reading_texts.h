#pragma once

#include <string>

namespace korvel::platform {
class Machine;
class Processes;
} // namespace korvel::platform

namespace korvel {

/// The services' readings as one line each, for eyes that compare them. Each is taken when it is
/// called; one that cannot be taken is "none".
class ReadingTexts {
  public:
    ReadingTexts(platform::Machine& machine, platform::Processes& processes)
        : machine_(machine), processes_(processes) {}

    std::string physicalMemory();
    std::string processorCount();
    std::string pageSize();
    std::string thermalState();
    std::string vmStatistics();
    std::string memoryPressureLevel();
    std::string swapUsage();
    std::string dataVolume();
    std::string cpuTicks();
    std::string loadAverages();
    std::string bootTime();
    /// How many there are, and the heaviest.
    std::string processes();

  private:
    platform::Machine& machine_;
    platform::Processes& processes_;
};

} // namespace korvel
