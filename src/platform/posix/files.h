#pragma once

#include "platform/files.h"

namespace korvel::platform {

/// The file system. Every file is opened, used and closed within one call.
class PosixFiles final : public Files {
  public:
    /// $HOME, or the account's directory where that is not set.
    std::string homeDirectory() override;
    std::optional<std::string> read(const std::string& path) override;
    bool write(const std::string& path, std::string_view bytes) override;
};

} // namespace korvel::platform
