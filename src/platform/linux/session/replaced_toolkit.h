#pragma once

#include <string>

namespace korvel::platform {

/// Whether libraries of Qt that this process runs on have been replaced on the disk since its
/// start, as by an upgrade: what would be loaded from now on is made for other ones. `maps` lists
/// what the process has mapped, as the kernel does. False too where they are gone without others in
/// their place.
bool toolkitWasReplaced(const std::string& maps = "/proc/self/maps");

} // namespace korvel::platform
