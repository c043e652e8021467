// Saving and loading a full history of full-length doubles.

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "model/history_store.h"
#include "platform/posix/files.h"

namespace {

using namespace korvel;

std::vector<HistoryPoint> fullHistory() {
    std::mt19937_64 generator(1);
    std::uniform_real_distribution<double> percent(0, 100);
    std::vector<HistoryPoint> history;
    history.reserve(kHistoryCap);
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

void saveHistory(benchmark::State& state) {
    const std::vector<HistoryPoint> history = fullHistory();
    const ScratchFile file;
    platform::PosixFiles files;
    std::size_t bytes = 0;
    for (auto _ : state) {
        const std::optional<std::string> text = encodeHistory(history);
        bytes = text->size();
        files.write(file.path, *text);
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(saveHistory)->Unit(benchmark::kMillisecond);

void loadHistory(benchmark::State& state) {
    const ScratchFile file;
    platform::PosixFiles files;
    files.write(file.path, *encodeHistory(fullHistory()));
    for (auto _ : state) {
        benchmark::DoNotOptimize(decodeHistory(*files.read(file.path)));
    }
}
BENCHMARK(loadHistory)->Unit(benchmark::kMillisecond);

} // namespace
