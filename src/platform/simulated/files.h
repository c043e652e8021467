#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/simulated/call_log.h"

namespace korvel::platform {

/// Files that live in memory.
class SimulatedFiles final : public Files, public Logging {
  public:
    struct Write {
        std::string path;
        std::size_t bytes = 0;

        bool operator==(const Write&) const = default;
    };

    std::string home = "/Users/korvel";
    std::map<std::string, std::string> contents; ///< by path
    std::set<std::string> unreadable;            ///< paths that cannot be read
    std::set<std::string> unwritable;            ///< paths that cannot be written

    std::vector<Write> writes; ///< that went well; only the last content of a path is kept
    /// Called at each write that went well; may be empty.
    std::function<void(const std::string& path, std::string_view bytes)> onWrite;

    /// `name` in the home directory.
    std::string inHome(const std::string& name) const { return home + "/" + name; }

    std::string homeDirectory() override {
        note("homeDirectory");
        return home;
    }
    std::optional<std::string> read(const std::string& path) override;
    bool write(const std::string& path, std::string_view bytes) override;
};

} // namespace korvel::platform
