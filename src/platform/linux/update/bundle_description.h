#pragma once

#include <string>

#include "platform/linux/update/bundle_manifest.h"

namespace korvel::platform {

/// Whether the Info.plist of the bundle is, when it is read here, the one that the manifest lists,
/// and says of the bundle what the manifest says of it: identifier, version, build, and the one
/// name of the program. The error is descriptionDiffers.
Status<BundleFault> checkDescription(const std::string& bundle, const BundleManifest& manifest);

} // namespace korvel::platform
