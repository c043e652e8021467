#pragma once

#include <cstdint>

#include "platform/files.h"

namespace korvel::platform {

/// The file system. Every file is opened, used and closed within one call.
class PosixFiles final : public Files {
  public:
    /// Bytes. A larger file, far above any that the program keeps, counts as one that cannot be
    /// read: taking it in could exhaust the memory.
    static constexpr std::int64_t kLargestFile = std::int64_t{64} << 20;

    /// $HOME, or the account's directory where that is not set.
    std::string homeDirectory() override;
    std::optional<std::string> read(const std::string& path) override;
    bool write(const std::string& path, std::string_view bytes) override;
};

} // namespace korvel::platform
