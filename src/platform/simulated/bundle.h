#pragma once

#include <map>
#include <string>

#include "platform/bundle.h"

namespace korvel::platform {

/// A bundle whose answers are set by hand; there is none on any disk.
class SimulatedBundle final : public Bundle {
  public:
    std::string location = "/Applications/Korvel.app";
    std::map<std::string, std::string> info{{"CFBundleShortVersionString", "1.0.0"},
                                            {"CFBundleVersion", "100"}};
    bool writable = true; ///< its parent
    bool managed = false; ///< by a package manager

    std::string path() override { return location; }
    std::optional<std::string> infoString(const std::string& key) override {
        const auto found = info.find(key);
        return found == info.end() ? std::nullopt : std::optional(found->second);
    }
    bool parentWritable() override { return writable; }
    bool managedElsewhere() override { return managed; }
};

} // namespace korvel::platform
