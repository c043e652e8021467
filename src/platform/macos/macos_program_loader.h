#pragma once

#include "platform/program_loader.h"

namespace korvel::platform {

/// Looks at the processor that the program is for, and at the oldest system that it starts on. The
/// libraries outside of the bundle are the system's own, which has them from that version on; those
/// inside are covered by its signature.
class MacosProgramLoader final : public ProgramLoader {
  public:
    Status<LoadFault> check(const std::string& bundle) override;
};

} // namespace korvel::platform
