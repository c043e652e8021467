#pragma once

#include <string>

#include "base/result.h"
#include "platform/program_loader.h"

namespace korvel {

/// Why the bundle of this name does not start here, as a sentence for the user.
std::string sentenceOf(const std::string& name, const Error<platform::LoadFault>& error);

} // namespace korvel
