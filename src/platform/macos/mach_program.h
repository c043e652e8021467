#pragma once

#include <cstdint>
#include <string_view>

#include "base/result.h"
#include "platform/program_loader.h"

namespace korvel::platform {

/// "14.2.1" as a number that grows with the version, 0x000e0201, as programs name the oldest system
/// that they start on. 0 for a text that is no version.
std::uint32_t packedVersion(std::string_view text);

/// Whether the Mach-O file is a program for Apple silicon that starts on a system of this version;
/// of 0, on any. Plain C++, without the system's headers.
///
/// Faults: `notAProgram`, `otherProcessor`, `systemTooOld`.
Status<LoadFault> checkMachProgram(std::string_view file, std::uint32_t system);

} // namespace korvel::platform
