// Saving and loading a full history of full-length doubles.

#include <cstdio>
#include <fstream>
#include <malloc.h>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "model/history_store.h"
#include "platform/posix/files.h"

namespace {

using namespace korvel;

History fullHistory() {
    std::mt19937_64 generator(1);
    std::uniform_real_distribution<double> percent(0, 100);
    History history;
    double t = 1700000000.123;
    for (std::size_t i = 0; i < kHistoryCap; ++i) {
        t += 5 + percent(generator) / 1e5;
        history.emplace_back(t, percent(generator), percent(generator));
    }
    return history;
}

/// A file of the benchmark's own, gone with it.
struct ScratchFile {
    std::string path = "/tmp/korvel-bench-history-" + std::to_string(::getpid()) + ".json";
    ~ScratchFile() { std::remove(path.c_str()); }
};

/// A full history as text.
const std::string& fullText() {
    static const std::string text = *encodeHistory(fullHistory());
    return text;
}

/// A line of /proc/self/status, in MiB.
double ownMemory(const std::string& name) {
    std::ifstream status("/proc/self/status");
    std::string word;
    double kilobytes = 0;
    while (status >> word) {
        if (word == name && status >> kilobytes) {
            break;
        }
    }
    return kilobytes / 1024;
}

/// MiB that `work` takes at its peak beyond what is there before.
template <typename Work>
double peakOf(Work work) {
    ::malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << 5; // the peak counts anew
    const double before = ownMemory("VmRSS:");
    work();
    return ownMemory("VmHWM:") - before;
}

void saveHistory(benchmark::State& state) {
    const History history = fullHistory();
    const ScratchFile file;
    platform::PosixFiles files;
    for (auto _ : state) {
        HistoryText text(history.size());
        if (!files.write(file.path, *text.of(history))) {
            state.SkipWithError("the history could not be saved");
            return;
        }
    }
    state.counters["bytes"] = static_cast<double>(fullText().size());
    state.counters["peak"] =
        peakOf([&] { files.write(file.path, *HistoryText(history.size()).of(history)); });
}
BENCHMARK(saveHistory)->Unit(benchmark::kMillisecond);

/// The part of saving that is the file system's: nothing is faster that writes these bytes.
void writeHistory(benchmark::State& state) {
    const ScratchFile file;
    platform::PosixFiles files;
    for (auto _ : state) {
        if (!files.write(file.path, fullText())) {
            state.SkipWithError("the file could not be written");
            return;
        }
    }
}
BENCHMARK(writeHistory)->Unit(benchmark::kMillisecond);

void loadHistory(benchmark::State& state) {
    const ScratchFile file;
    platform::PosixFiles files;
    files.write(file.path, fullText());
    for (auto _ : state) {
        std::optional<std::string> text = files.read(file.path);
        if (!text || decodeHistory(std::move(*text)).size() != kHistoryCap) {
            state.SkipWithError("the history could not be loaded");
            return;
        }
    }
    History points;
    const double peak = peakOf([&] { points = decodeHistory(*files.read(file.path)); });
    const double own = static_cast<double>(points.size() * sizeof points[0]) / (1 << 20);
    state.counters["peak"] = peak - own;
}
BENCHMARK(loadHistory)->Unit(benchmark::kMillisecond);

/// The part of loading that is the file system's.
void readHistory(benchmark::State& state) {
    const ScratchFile file;
    platform::PosixFiles files;
    files.write(file.path, fullText());
    for (auto _ : state) {
        const std::optional<std::string> text = files.read(file.path);
        if (!text) {
            state.SkipWithError("the file could not be read");
            return;
        }
        benchmark::DoNotOptimize(text->data());
    }
}
BENCHMARK(readHistory)->Unit(benchmark::kMillisecond);

} // namespace
