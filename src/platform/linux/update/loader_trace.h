#pragma once

#include <string_view>

#include "base/result.h"
#include "platform/child_process.h"
#include "platform/program_loader.h"

namespace korvel::platform {

/// What the list that the system's loader prints of the libraries of `object` (`--list`, both of
/// its streams) says of whether the object loads. The object's path is what the loader was given.
///
/// Faults: `libraryMissing`, `libraryTooOld`, `libraryUnfit`, `otherProcessor`, `refused`; what is
/// named in one is printable ASCII of at most a hundred characters.
Status<LoadFault> readLoaderTrace(const ChildResult& listed, std::string_view object);

} // namespace korvel::platform
