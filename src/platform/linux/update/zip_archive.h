#pragma once

#include "platform/archive.h"

namespace korvel::platform {

/// Unpacks zip archives of at most 64 MiB that `readZipIndex` accepts. Modes are kept but for the
/// leave of others to write and the bits that change who a program runs as; links only when they
/// lead to what is inside.
class ZipArchive final : public Archive {
  public:
    Status<ArchiveFault> unpack(const std::string& archive, const std::string& folder) override;
};

} // namespace korvel::platform
