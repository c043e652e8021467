#pragma once

#include <memory>

#include "platform/bundle.h"

namespace korvel::platform {

/// The main bundle. A program outside a bundle has the folder around it for one, and that is never
/// to be replaced.
class MacosBundle final : public Bundle {
  public:
    /// Reads Info.plist.
    MacosBundle();
    ~MacosBundle() override;

    std::string path() override;
    std::optional<std::string> infoString(const std::string& key) override;
    bool parentWritable() override;
    bool managedElsewhere() override { return false; }

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace korvel::platform
