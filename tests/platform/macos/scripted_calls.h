#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// The stand-in of the system calls: what each is to answer, and what was asked of it. Compiled for
/// macOS with its headers, so that names, parameters and layouts are the system's own.
namespace korvel::standin {

/// A sysctl that writes `bytes` and says that it wrote `size`.
struct Sysctl {
    std::string name; ///< for one by number: "6.24"
    int result = 0;
    std::string bytes;
    std::size_t size = 0;
};

struct Assertion {
    std::string type;
    std::uint32_t level = 0;
    std::string name;
};

struct Script {
    // What is to be answered.
    int vmResult = 0;
    std::uint32_t vmCountOut = 62;
    std::array<std::uint32_t, 62> vmWords{};
    int cpuResult = 0;
    std::uint32_t cpuCountOut = 4;
    std::array<std::uint32_t, 4> cpuWords{};
    std::vector<Sysctl> sysctls; ///< any other fails
    int statfsResult = 0;
    std::array<std::uint64_t, 4> volume{}; ///< block size, blocks, free, available
    std::vector<double> load;              ///< fewer than 3: as many are written; none: -1
    int firstListing = 0;
    int secondListing = 0;
    std::vector<std::int32_t> pids;                                 ///< that the second one writes
    std::vector<std::pair<std::int32_t, std::uint64_t>> footprints; ///< any other process is gone
    std::uint64_t startTime = 0;                                    ///< of each process
    std::vector<std::pair<std::int32_t, std::string>> names;        ///< any other name fails
    int killResult = 0;
    std::vector<std::string> refusedTypes; ///< of power assertions
    std::uint32_t nextAssertion = 7;
    bool stringsFail = false;
    int releaseResult = 0;
    std::array<std::uint8_t, 32> digest{};
    bool keepsDigested = true; ///< false: the bytes are but counted

    // What was asked.
    std::vector<std::string> calls;
    int hostRights = 0; ///< held
    std::vector<Assertion> assertions;
    int strings = 0; ///< not released
    std::string digested;
    std::uint64_t digestedBytes = 0;

    const Sysctl* find(const std::string& name) const;
};

/// The current one. Each case starts with a fresh one.
extern Script* script;

} // namespace korvel::standin
