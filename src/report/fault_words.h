#pragma once

#include <string>

#include "platform/archive.h"
#include "platform/bundle_fault.h"

/// What korvel-release says of a bundle or an archive that it refuses: one line without its end.
namespace korvel {

std::string wordsOf(const Error<platform::BundleFault>& error);
std::string wordsOf(const Error<platform::ArchiveFault>& error);

} // namespace korvel
