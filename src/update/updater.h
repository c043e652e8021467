#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/observable.h"
#include "base/uuid.h"
#include "platform/clock.h"
#include "platform/identity.h"
#include "update/release.h"
#include "update/updater_state.h"

namespace korvel::platform {
class Archive;
class Bundle;
class CodeSignature;
class Digest;
class FileManager;
class Http;
class ProgramLoader;
class RunLoop;
class UserDefaults;
class Workspace;
struct Services;
} // namespace korvel::platform

namespace korvel {

/// Finds, checks and installs newer builds of the program. Main thread only.
class Updater : public ObservableObject, public std::enable_shared_from_this<Updater> {
  public:
    using State = UpdaterState;

    using Done = std::function<void()>;
    using NotesDone = std::function<void(std::optional<std::string> notes)>;

    /// The program's own, built on the installed services at first use.
    static const std::shared_ptr<Updater>& shared();

    /// URL of the feed, on the host that the build was given.
    static const std::string& appcast();

    /// The services outlive it. `newUuid` names the folder of an installation.
    explicit Updater(const platform::Services& services,
                     std::function<Uuid()> newUuid = Uuid::random);

    /// The code-signing team that an update must carry.
    const std::string teamID = platform::kTeamIdentifier;
    Published<State> state{*this, update_state::Idle{}};
    Published<std::optional<platform::Date>> lastChecked{*this}; ///< when the last check ended
    /// Called when the state says installing, before that holds up the main thread; may be empty.
    std::function<void()> onInstalling;
    std::optional<Release> pending; ///< what the last check that found something newer found
    const std::string checkedKey = "lastUpdateCheck";

    std::string currentVersion() const; ///< "0" when the bundle does not say
    std::int64_t currentBuild() const;  ///< 0 when the bundle does not say
    std::string releaseNotes() const;   ///< of `pending`, or ""

    /// One check of the feed. Failures are told only to a user who asked. `done` follows the last
    /// change; it may be empty.
    void check(bool userInitiated, Done done = {});

    /// The same, unasked, unless the last one is less than a day ago, or a package manager sees to
    /// the updates.
    void checkInBackground();

    /// What is new in the running build: the feed's notes, when it is the one that it tells of.
    /// Where a package manager sees to the updates the feed is not asked, and the built-in notes
    /// are given, before this returns. Never fails.
    void notesForCurrentVersion(NotesDone done);

    /// Downloads, verifies and puts in place what is pending. All but the download blocks. Nothing
    /// on the disk changes unless all is well, and nothing is left behind in any case.
    void installPending();

    /// To be called when the program ends: removes what installations under way have on the disk.
    void abandon();

    /// Starts the bundle in place in a second, and ends this program.
    void relaunch();

  private:
    /// The folder of one installation; removed with the object.
    class WorkDirectory;

    void fetchAppcast(std::function<void(std::optional<Release>)> done);
    void settle(const std::optional<Release>& release, bool userInitiated);
    void endUpToDate();
    void install(const Release& release, WorkDirectory& work);
    bool verifySignature(const std::string& bundle, std::int64_t build);
    /// The sentence of what went wrong; nullopt: the new bundle is in place.
    std::optional<std::string> swap(const std::string& bundle, WorkDirectory& work);
    void fail(std::string message);

    platform::Bundle& bundle_; ///< the running one
    platform::Clock& clock_;
    platform::RunLoop& runLoop_;
    platform::UserDefaults& defaults_;
    platform::Workspace& workspace_;
    platform::Http& http_;
    platform::FileManager& fileManager_;
    platform::Digest& digest_;
    platform::Archive& archive_;
    platform::CodeSignature& codeSignature_;
    platform::ProgramLoader& programLoader_;
    std::function<Uuid()> newUuid_;
    std::vector<std::weak_ptr<WorkDirectory>> underWay_;
};

} // namespace korvel
