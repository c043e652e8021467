#pragma once

#include <map>

#include "platform/bundle.h"

namespace korvel::platform {

/// The bundle around an executable `NAME.app/Contents/Linux/korvel`, described by
/// `NAME.app/Contents/Info.plist`, which is read once.
///
/// An executable elsewhere, in a build tree or where a package manager put it, is its own bundle,
/// and is never to be replaced. One that is installed as `PREFIX/bin/korvel` has a package manager
/// where `PREFIX/share/korvel/package-type` says so; that is looked at once.
class LinuxBundle final : public Bundle {
  public:
    using Strings = std::map<std::string, std::string>;

    /// `executable`: an absolute path. `ownStrings`: what describes the program outside a bundle.
    LinuxBundle(const std::string& executable, Strings ownStrings);

    /// The bundle that an executable lies in; empty when it lies in none.
    static std::string around(const std::string& executable);

    /// The file that this process runs. To be asked at the start: once the file is moved or
    /// replaced, the kernel tells another path. Empty where it cannot be told.
    static std::string runningExecutable();

    std::string path() override { return path_; }
    std::optional<std::string> infoString(const std::string& key) override;
    bool parentWritable() override;
    bool managedElsewhere() override { return managedElsewhere_; }

  private:
    std::string path_;
    bool isBundle_;
    bool managedElsewhere_;
    Strings strings_;
};

} // namespace korvel::platform
