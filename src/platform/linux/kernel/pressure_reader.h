#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/linux/kernel/kept_file.h"
#include "platform/linux/kernel/meminfo.h"
#include "platform/linux/kernel/pressure.h"
#include "platform/linux/kernel/zram_reader.h"

namespace korvel::platform {

/// A memory pressure level, and whether the kernel gave stall figures for it.
struct PressureReading {
    std::int32_t level = 1; ///< see `PressureRule`
    bool stallReported = true;
};

/// Reads what the memory pressure level is made of beside /proc/meminfo.
class PressureReader {
  public:
    /// `root` ends in a slash.
    PressureReader(FileCalls& calls, const std::string& root);

    /// nullopt when the available memory is not known. Only while hardly any is available is it
    /// asked what compressed devices hold (`zramUse`), and read which swap they are.
    std::optional<PressureReading> read(const Meminfo& memory,
                                        const std::function<ZramUse()>& zramUse);

  private:
    std::uint64_t roomInSwap(const Meminfo& memory, const ZramUse& zram);

    KeptFile stallFile_;
    KeptFile swapsFile_;
    PressureRule rule_;
    std::string buffer_;
};

} // namespace korvel::platform
