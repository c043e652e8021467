#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/observable.h"
#include "core/metrics.h"
#include "model/history_store.h"
#include "model/score_notifications.h"

namespace korvel::platform {
class ChildProcesses;
class Files;
class Processes;
class RunLoop;
struct Services;
class SwappedMemory;
} // namespace korvel::platform

namespace korvel {

/// The observable state behind the interface: the latest reading, the trail of past ones and the
/// state of the remedies. Owned by the application delegate, for the life of the process; used on
/// the main thread. Held by shared pointer, because published work may outlast a caller.
class Model : public ObservableObject, public std::enable_shared_from_this<Model> {
  public:
    /// Loads the history. The services outlive the model.
    Model(Metrics& metrics, const platform::Services& services);

    Published<Snapshot> snap{*this};
    Published<History> history{*this}; ///< oldest first
    Published<bool> reclaiming{*this}; ///< a disk reclaim is running
    /// One line on how the last reclaim went.
    Published<std::optional<std::string>> reclaimResult{*this};
    /// One line on what a reclaim would free.
    Published<std::optional<std::string>> reclaimPreview{*this};
    Published<bool> scanning{*this}; ///< a reclaim preview is being computed

    /// Processes found holding swap, most first; `gb` is what they hold there.
    Published<std::vector<ProcInfo>> swapHolders{*this};
    Published<bool> scanningSwap{*this, false}; ///< a search for them is running

    /// Called after every published refresh; may be empty.
    std::function<void()> onUpdate;

    /// Takes one sample now, and publishes it on a later turn of the run loop, however the caller
    /// goes on. Never fails.
    void refresh();

    /// Rewrites the history file whole. Any failure is silent; the next call tries again.
    void saveHistory();

    /// From now on keeps the text of the file from one save to the next: 2.5 MB when the history is
    /// full, for which a save costs a hundredth. For virtual time, where a day of saves passes in a
    /// moment; in real time the memory is worth more.
    void keepHistoryText() { keptText_.emplace(kHistoryCap); }

    /// Empties `swapHolders` and looks for them anew, in the background; does nothing while a
    /// search is running. Measuring one process may take a tool's run, so only the heaviest are
    /// looked at.
    void findSwapHolders();

    /// Asks a process to end and takes a sample when it has had time to. Nothing for the program
    /// itself. A process that is gone or may not be ended is no error.
    void quit(const ProcInfo& process);

    /// Asks the user's script, in the background, what it could clear; does nothing while it is
    /// being asked.
    void previewReclaim();

    /// Has the user's script clear it, in the background, and measures what that gained; does
    /// nothing while it runs.
    void runReclaim();

    /// Puts a preview away unused.
    void dismissReclaimPreview();

  private:
    void loadHistory();
    void publish(const Snapshot& s);
    void clearReclaimTexts();

    Metrics& metrics_;
    platform::RunLoop& runLoop_;
    platform::Clock& clock_;
    platform::Files& files_;
    platform::Processes& processes_;
    platform::SwappedMemory& swappedMemory_;
    platform::ChildProcesses& childProcesses_;
    std::string historyFile_;
    std::string reclaimScript_;
    std::optional<HistoryText> keptText_;
    ScoreNotifications notifications_;
};

} // namespace korvel
