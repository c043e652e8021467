#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/observable.h"

namespace korvel::platform {
class RunLoop;
class UserDefaults;
struct Services;
} // namespace korvel::platform

namespace korvel {

class Updater;

/// Whether to greet the user after a first installation or an update, and with what. Main thread
/// only.
class WhatsNew : public ObservableObject, public std::enable_shared_from_this<WhatsNew> {
  public:
    struct Kind {
        enum class Case {
            updated, ///< the running build is newer than the one seen last
            none,
            installed, ///< no build was seen yet
        };

        Case value = Case::none;
        std::string from; ///< updated: the version seen last, or ""; else empty

        bool operator==(const Kind&) const = default;
    };

    /// Where an installation leaves the notes of what it installed.
    // NOLINTNEXTLINE(readability-identifier-naming): one of the settings' keys, named as they are
    static constexpr const char* handoffKey = "pendingReleaseNotes";

    /// The program's own, built on the installed services at first use.
    static const std::shared_ptr<WhatsNew>& shared();

    /// The services outlive it.
    WhatsNew(const platform::Services& services, std::shared_ptr<Updater> updater);

    Published<Kind> kind{*this};
    Published<std::vector<std::string>> notes{*this}; ///< at most three lines
    const std::string seenBuildKey = "seenBuild";
    const std::string seenVersionKey = "seenVersion";
    const std::string autoShownKey = "whatsNewAutoShownBuild";

    std::string version() const; ///< the running one

    /// Decides. Called once a launch; what the feed has to say of this build may follow later.
    void evaluate();

    /// Whether the popover is to open by itself. A true answer is remembered: there is one for each
    /// build.
    bool shouldAutoPresent();

    /// Has been seen: nothing more of this build.
    void dismiss();

    /// Free text as at most three lines.
    static std::vector<std::string> bullets(std::string_view text);

  private:
    void lookUpNotes();

    platform::UserDefaults& d; // NOLINT(readability-identifier-naming): as short as its use
    platform::RunLoop& runLoop_;
    std::shared_ptr<Updater> updater_;
};

} // namespace korvel
