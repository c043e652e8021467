#pragma once

#include <functional>

#include "platform/file_manager.h"

namespace korvel::platform {

/// The file system.
///
/// A move to another volume is a copy under a hidden name beside the new path, which is given the
/// new path when it is whole; then the original is given a hidden name beside the old path, and is
/// removed. So a program that is killed on the way leaves the whole of it under the old path, the
/// new one or both, and never a part of it under either. What it may leave besides is a
/// hidden file or folder whose name ends in ".korvel-" and a number.
class PosixFileManager final : public FileManager {
  public:
    enum class MoveStep {
        entryCopied,  ///< one file, link or folder of the tree
        inPlace,      ///< under the new path too
        asideFromOld, ///< no longer under the old path
        entryRemoved, ///< one of the tree that was set aside
    };
    using AfterStep = std::function<void(MoveStep)>;

    /// `afterStep` is called after each step of a move to another volume.
    explicit PosixFileManager(AfterStep afterStep = {});

    /// $TMPDIR, or /tmp where that is no absolute path.
    std::string temporaryDirectory() override;
    bool createDirectory(const std::string& path) override;
    Status<std::errc> move(const std::string& from, const std::string& to) override;
    void remove(const std::string& path) override;
    std::optional<std::vector<std::string>> contents(const std::string& path) override;

  private:
    Status<std::errc> moveToOtherVolume(const std::string& from, const std::string& to);
    void done(MoveStep step) const;

    AfterStep afterStep_;
};

} // namespace korvel::platform
