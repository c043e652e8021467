#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/file_manager.h"
#include "platform/simulated/call_log.h"
#include "platform/simulated/files.h"

namespace korvel::platform {

/// Folders in memory, kept by their paths and listings alone, beside the simulated files.
class SimulatedFileManager final : public FileManager, public Logging {
  public:
    explicit SimulatedFileManager(SimulatedFiles& files) : files_(files) {}

    std::string temporary = "/tmp";
    std::set<std::string> folders;                            ///< those that are there
    std::map<std::string, std::vector<std::string>> listings; ///< of those that have entries
    bool creates = true;                                      ///< whether folders can be made
    std::vector<std::string> places;                          ///< for which folders were made
    bool exchanges = false;     ///< whether two folders can exchange their names
    Status<std::errc> flushed;  ///< what comes of a flush
    Status<std::errc> recorded; ///< what comes of a record
    /// Whether a move goes wrong; may be empty: none does.
    std::function<Status<std::errc>(const std::string& from, const std::string& to)> onMove;

    std::string temporaryDirectory() override { return temporary; }
    /// In the temporary directory, whatever it is for.
    std::string makeWorkFolder(const std::string& name, const std::string& place) override;
    bool createDirectory(const std::string& path) override;
    Status<std::errc> move(const std::string& from, const std::string& to) override;
    bool exchange(const std::string& one, const std::string& other) override;
    Status<std::errc> flush(const std::string& folder) override;
    Status<std::errc> recordReplacement(const std::string& workFolder,
                                        const std::string& place) override;
    void remove(const std::string& path) override;
    std::optional<std::vector<std::string>> contents(const std::string& path) override;

  private:
    SimulatedFiles& files_;
};

} // namespace korvel::platform
