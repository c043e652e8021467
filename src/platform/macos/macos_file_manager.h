#pragma once

#include "platform/posix/file_manager.h"

namespace korvel::platform {

/// The file system, with errors that carry the sentence that the system has for its users.
class MacosFileManager final : public PosixFileManager {
  public:
    using PosixFileManager::PosixFileManager;

    /// Where a mere move is refused, Foundation tries: it knows more volumes, and tells why it
    /// cannot in the user's language.
    Status<std::errc> move(const std::string& from, const std::string& to) override;
    Status<std::errc> flush(const std::string& folder) override;
    Status<std::errc> recordReplacement(const std::string& workFolder,
                                        const std::string& place) override;
};

} // namespace korvel::platform
