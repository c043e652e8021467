#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "model/history_store.h"
#include "platform/notifications.h"
#include "platform/status_bar.h"
#include "swarm/expected.h"
#include "ui/content/popover_content.h"
#include "update/updater_state.h"

namespace korvel {
class Awake;
class Model;
class Updater;
class WhatsNew;
} // namespace korvel

namespace korvel::swarm {

class Life;

/// A broken rule.
struct Broken {
    std::string sentence;
    std::string detail;
    double at = 0; ///< seconds after the launch
};

/// Work that the program began in the background for a button.
struct Task {
    bool begun = false;
    std::optional<double> endsAt; ///< once its tool runs
    std::string result;           ///< that it has to come to
    std::vector<double> readings; ///< free space before and after, GB
};

/// What an onlooker of one program has written down: what happened since the last turn of its run
/// loop, and what must follow from all that happened before. The invariants read it; they and it
/// share nothing with the program.
class Ledger {
  public:
    explicit Ledger(Life& life);

    // What happens.
    void launched();
    void acted(); ///< an event is over
    void turnEnded();
    void ending(); ///< before it ends
    void ended(bool orderly);

    // What a user does, told before it is done.
    void enablesAwake(std::optional<std::int64_t> minutes);
    void disablesAwake();
    void sleeps(double seconds);
    void previews();
    void runsReclaim();
    void seeksSwapHolders();
    void checks() { ++userChecks; }
    void installs();
    void clicksItem();
    void dismissesNews();
    void quitsProcess(std::int32_t pid);
    /// What a press must have done at once.
    void expects(const char* sentence, bool held) {
        if (!held && fault.empty()) {
            fault = sentence;
        }
    }

    Life& life;
    const Model& model;
    const Awake& awake;
    Updater& updater;
    const WhatsNew& whatsNew;

    double elapsed() const;
    double wall() const;
    double stored(const char* key) const; ///< a number of the settings, 0 when absent
    const platform::SimulatedDefaults::Value* setting(const char* key) const;

    std::uint64_t turns = 0;

    // Since the last turn.
    bool published = false;
    bool acting = false; ///< an event happened
    bool saved = false;
    std::vector<platform::Notification> posted;
    std::vector<std::int32_t> signalled;
    std::vector<std::int32_t> mayBeSignalled;
    std::string fault;                   ///< that a hook found
    std::optional<PopoverContent> shown; ///< when it was looked at in this turn

    // The readings.
    SecondSampler sampler;
    std::deque<Expected> readings; ///< that were taken and are still to be published
    Expected expected;             ///< of the published one
    std::uint64_t publications = 0;
    std::uint64_t mostPublications = 0;
    double publishedAt = 0;
    std::vector<double> samplesDue; ///< after a click, or after a process was asked to end

    // The title and the popover.
    std::optional<platform::StatusTitle> title;
    bool refusedSinceTitle = false;
    bool popoverShown = false;
    bool expectedShown = false;
    bool greetingDue = false;
    bool openedByUser = false;
    bool greeted = false;
    bool breakdown = false;
    bool dismissed = false;       ///< the greeting
    std::size_t expectedKind = 0; ///< of what is new
    std::optional<std::vector<std::string>> expectedNotes;

    // Memory, from when the history has its full length.
    double weighAt = 0;
    std::optional<std::size_t> weight; ///< bytes in use
    std::size_t growth = 0;

    // The history.
    std::size_t historySize = 0;
    std::optional<HistoryPoint> oldest;
    double blockedOrSavedAt = 0;
    double savesDue = 120;
    std::size_t savedRows = 0;

    // The notifications.
    double launchedAtWall = 0;
    bool noticeDue = false;
    std::string noticeTitle;
    std::string noticeBody;
    double storedScore = 0; ///< that the settings must hold
    double storedAt = 0;

    // Keep awake.
    bool wishOn = false;
    std::optional<double> wishUntil;
    bool lostPower = false;         ///< the system took back what it had granted
    std::optional<double> deadline; ///< seconds after the launch
    std::optional<bool> storedOn;
    std::optional<double> storedUntil;

    // The remedies.
    Task preview;
    Task reclaim;
    Task scan;
    std::vector<std::pair<std::int32_t, double>> holders; ///< pid and GB that must be found
    std::size_t mapRuns = 0;                              ///< of the running search

    // The updates.
    struct Check {
        double arrives = 0;
        std::optional<std::int64_t> build;
        bool byUser = false;
    };
    struct Download {
        double arrives = 0;
        std::int64_t build = 0;
        std::size_t fault = 0; ///< of the archive when it was asked for
    };
    std::vector<Check> underWay;
    std::vector<Download> downloads;
    std::optional<UpdaterState> stateBefore;
    double checkingSince = 0;
    double upToDateSince = 0;
    int userChecks = 0;
    bool checkDue = false; ///< at the launch
    bool checkedAtLaunch = false;
    std::optional<std::string> outcome; ///< of the installation that began in this turn
    std::size_t timesKept = 0;
    bool anyOutcome = false;
    std::vector<double> endings;        ///< of that nothing newer is there
    bool keptOld = false;               ///< the version that ran could not be moved back
    std::int64_t underInstallation = 0; ///< its build
    std::optional<std::int64_t> installedBuild;

  private:
    void watch();
    void watchUpdater();
    void read();
    void publish();
    void expectNotice();
    void ran(const std::string& executable, const std::vector<std::string>& arguments);
    void wrote(const std::string& path, std::string_view bytes);
    void setState();
    void settle(const UpdaterState& state);
    std::string expectedOutcome(const Download& download) const;
    void restoreAwake();
    void expectNews();
    void begin(Task& task);
    void endTasks();
    void weigh();
};

/// Holds all of them; throws `Broken`.
void holdInvariants(const Ledger& ledger);
/// Those of a launch and of an end.
void holdAtLaunch(const Ledger& ledger);
void holdAtEnd(const Ledger& ledger);
std::vector<const char*> invariantSentences();

} // namespace korvel::swarm
