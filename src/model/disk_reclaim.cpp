#include "model/disk_reclaim.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>

#include "base/lines.h"
#include "base/utf8.h"
#include "model/model.h"
#include "platform/child_process.h"
#include "platform/run_loop.h"

namespace korvel {

namespace {

constexpr const char* kBash = "/bin/bash";

/// The parts of a line between spaces, without empty ones.
std::vector<std::string_view> wordsOf(std::string_view line) {
    std::vector<std::string_view> words;
    while (!line.empty()) {
        const std::size_t end = std::min(line.find(' '), line.size());
        if (end > 0) {
            words.push_back(line.substr(0, end));
        }
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return words;
}

/// What the script prints; "" when it cannot be run or prints anything but UTF-8.
std::string run(platform::ChildProcesses& children, const std::vector<std::string>& arguments) {
    const auto result = children.run(kBash, arguments, {});
    return result && isUtf8(result->output) ? result->output : std::string();
}

} // namespace

std::string reclaimableIn(std::string_view output) {
    std::string text = "nothing worth clearing";
    while (const auto line = takeLineOrRest(output)) {
        if (line->find("TOTAL RECLAIMABLE") == std::string_view::npos) {
            continue;
        }
        const std::vector<std::string_view> words = wordsOf(*line);
        if (words.size() >= 2) {
            text = std::string(words[words.size() - 2]) + " " + std::string(words.back());
        }
    }
    return text;
}

std::string reclaimResultText(double freeBeforeGB, double freeAfterGB) {
    constexpr double kLeastGainGB = 0.1;
    const double gain = std::max(freeAfterGB - freeBeforeGB, 0.0);
    if (gain > kLeastGainGB) {
        return fmt::format("reclaimed {:.1f} GB · {:.0f} GB free", gain, freeAfterGB);
    }
    return "nothing to reclaim right now";
}

void Model::clearReclaimTexts() {
    reclaimPreview = std::nullopt;
    reclaimResult = std::nullopt;
}

void Model::previewReclaim() {
    if (*scanning) {
        return;
    }
    scanning = true;
    clearReclaimTexts();
    runLoop_.background([self = shared_from_this(), &children = childProcesses_, &main = runLoop_,
                         script = reclaimScript_]() mutable {
        std::string text = reclaimableIn(run(children, {script}));
        main.async([model = std::move(self), preview = std::move(text)] {
            model->scanning = false;
            model->reclaimPreview = preview;
        });
    });
}

void Model::runReclaim() {
    if (*reclaiming) {
        return;
    }
    reclaiming = true;
    clearReclaimTexts();
    runLoop_.background([self = shared_from_this(), &children = childProcesses_, &main = runLoop_,
                         &metrics = metrics_, script = reclaimScript_]() mutable {
        using platform::ChildStream;
        const double before = metrics.snapshot().diskFreeGB;
        children.run(kBash, {script, "--go", "--yes"},
                     {ChildStream::discard, ChildStream::discard});
        std::string text = reclaimResultText(before, metrics.snapshot().diskFreeGB);
        main.async([model = std::move(self), result = std::move(text)] {
            model->reclaiming = false;
            model->reclaimResult = result;
            model->refresh();
        });
    });
}

void Model::dismissReclaimPreview() {
    reclaimPreview = std::nullopt;
}

} // namespace korvel
