#pragma once

#include <string>
#include <string_view>

namespace korvel::platform {

/// The name of which the kernel keeps only the first 15 bytes: the file name among the first words
/// of a command line (as of /proc/PID/cmdline) that begins with `comm`, at most 255 bytes of it.
/// `comm` itself where there is none, as in a process that gave itself a name of its own.
std::string lengthenedName(std::string_view comm, std::string_view commandLine);

} // namespace korvel::platform
