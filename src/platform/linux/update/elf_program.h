#pragma once

#include <string>
#include <string_view>

#include "base/result.h"
#include "platform/program_loader.h"

namespace korvel::platform {

/// What a program says of how it is to be loaded.
struct ElfProgram {
    std::string interpreter; ///< the path of the system's loader; "" where it needs none
};

/// Reads the headers of a program. `own` is the beginning of a program that runs here, 20 bytes at
/// least: one that was made for another processor than that is of none that runs.
///
/// Faults: `notAProgram`, also of a file that ends before all that is to be loaded, and
/// `otherProcessor`.
Result<ElfProgram, LoadFault> readElfProgram(std::string_view file, std::string_view own);

} // namespace korvel::platform
