#pragma once

#include <string>

#include "base/result.h"

namespace korvel::platform {

/// Why the program of a bundle would not start on this machine.
enum class LoadFault {
    missing,            ///< there is none, or it cannot be read
    notAProgram,        ///< it is of another kind of system, or not whole
    otherProcessor,     ///< it is made for another kind
    systemTooOld,       ///< the detail is the version that it needs
    notStartable,       ///< the volume that it is on, or its mode, lets no program start
    interpreterMissing, ///< the subject is the path of the loader that it asks for
    libraryMissing,     ///< the subject is its name
    libraryTooOld,      ///< the subject is its name, the detail the version that it does not have
    libraryUnfit,       ///< the subject is its name, the detail what the system's loader says of it
    pluginMissing,      ///< the subject is the kind of display that it has none for
    refused,            ///< the detail is what the system's loader says, or its exit status
    notTold,            ///< the system's loader could not be asked, or did not answer in time
};

/// Tells whether programs start on this machine, without starting them.
class ProgramLoader {
  public:
    virtual ~ProgramLoader() = default;

    /// Whether the program of the bundle at `bundle`, an absolute path, has here what it needs: its
    /// kind of processor, the system's loader, and every library in a version that serves. None of
    /// the bundle's code runs. The bundle has been verified. Blocks, for seconds at most.
    virtual Status<LoadFault> check(const std::string& bundle) = 0;
};

} // namespace korvel::platform
