#include "model/model.h"

#include <string_view>
#include <utility>

#include "platform/files.h"
#include "platform/run_loop.h"
#include "platform/services.h"

namespace korvel {

Model::Model(Metrics& metrics, const platform::Services& services)
    : metrics_(metrics), runLoop_(services.runLoop), clock_(services.clock), files_(services.files),
      processes_(services.processes), swappedMemory_(services.swappedMemory),
      childProcesses_(services.childProcesses),
      historyFile_(services.files.homeDirectory() + "/.korvel-history.json"),
      reclaimScript_(services.files.homeDirectory() + "/reclaim.sh"),
      notifications_(services.clock, services.defaults, services.notifications) {
    loadHistory();
}

void Model::refresh() {
    // Holds the model strongly: a sample that was taken is published.
    runLoop_.async([self = shared_from_this(), s = metrics_.snapshot()] { self->publish(s); });
}

void Model::publish(const Snapshot& s) {
    snap = s;
    history.update([&](History& points) {
        points.emplace_back(clock_.now(), s.cpuPct, s.memPct);
        while (points.size() > kHistoryCap) {
            points.pop_front();
        }
    });
    notifications_.maybeNotify(s);
    if (onUpdate) {
        onUpdate();
    }
}

void Model::saveHistory() {
    HistoryText anew(history->size());
    HistoryText& text = keptText_ ? *keptText_ : anew;
    if (const std::optional<std::string_view> bytes = text.of(*history)) {
        files_.write(historyFile_, *bytes);
    }
}

void Model::loadHistory() {
    if (std::optional<std::string> text = files_.read(historyFile_)) {
        history = decodeHistory(std::move(*text));
    }
}

} // namespace korvel
