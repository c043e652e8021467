#pragma once

#include <string>

namespace korvel::platform {
class MachineReading;
class Processes;
} // namespace korvel::platform

namespace korvel {

/// The figures of one reading of the machine, and what the process table holds, as one line each,
/// for a person to compare. A figure is taken when its function is called; one that cannot be taken
/// is "none", one that the machine does not have is said not to be reported.
class ReadingTexts {
  public:
    ReadingTexts(platform::MachineReading& reading, platform::Processes& processes)
        : reading_(reading), processes_(processes) {}

    std::string physicalMemory();
    std::string processorCount();
    std::string pageSize();
    std::string thermalState();
    std::string vmStatistics();
    /// What the page counts come to, in bytes.
    std::string memory();
    std::string compressedMemory();
    std::string memoryPressureLevel();
    std::string swapUsage();
    std::string dataVolume();
    std::string cpuTicks();
    std::string loadAverages();
    std::string bootTime();
    /// How many there are, and the heaviest.
    std::string processes();

  private:
    platform::MachineReading& reading_;
    platform::Processes& processes_;
};

} // namespace korvel
