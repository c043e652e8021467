#pragma once

#include <map>
#include <utility>

#include "platform/file_manager.h"
#include "platform/posix/work_folder.h"

namespace korvel::platform {

/// The file system.
class PosixFileManager : public FileManager {
  public:
    /// `record`: a path for a link that leads to the folder of an installation, where the volume of
    /// its bundle cannot exchange two names. Empty: none is kept.
    explicit PosixFileManager(std::string record = {}) : record_(std::move(record)) {}

    /// $TMPDIR, /tmp or /var/tmp: the first that is a folder in which nobody but this user and root
    /// can exchange what this user puts there; else one of the home directory.
    std::string temporaryDirectory() override;

    /// Hidden beside the bundle; in the temporary directory where none is to be replaced.
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
    std::string record_;
    std::string recorded_;                          ///< the folder that it was made to lead to
    std::map<std::string, WorkFolder> workFolders_; ///< of this process, by path
};

} // namespace korvel::platform
