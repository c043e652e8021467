#pragma once

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/agents.h"
#include "platform/child_process.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/machine.h"
#include "platform/processes.h"
#include "platform/run_loop.h"
#include "platform/swapped_memory.h"

/// A small machine for unit tests: every answer is a field, every call is remembered.
namespace korvel::test {

using CallLog = std::vector<std::string>;

inline constexpr double kGiB = 0x1p30;

class FakeMachine final : public platform::Machine {
  public:
    explicit FakeMachine(CallLog& log) : log_(log) {}

    std::uint64_t memory = std::uint64_t{16} << 30;
    int processors = 10;
    int thermal = 0;
    std::uint64_t page = 16384;
    /// 16 GiB are 1,048,576 pages of 16,384 bytes.
    std::optional<platform::VmStatistics> vm =
        platform::VmStatistics{200000, 300000, 200000, 100000, 20000, 10000, 50000, 1000};
    std::optional<platform::CpuTicks> ticks = platform::CpuTicks{1000, 500, 8000, 100};
    std::optional<std::int32_t> pressure = 1;
    std::optional<platform::SwapUsage> swap = platform::SwapUsage{};
    std::optional<platform::VolumeStatistics> volume = platform::VolumeStatistics{
        4096, 100 * 262144, 80 * 262144, 80 * 262144}; // 262,144 blocks of 4,096 bytes are 1 GiB
    std::array<double, 3> load{1, 2, 3};
    std::optional<std::int64_t> boot = 1699900000;

    std::uint64_t physicalMemory() override { return logged("physicalMemory", memory); }
    int processorCount() override { return logged("processorCount", processors); }
    int thermalState() override { return logged("thermalState", thermal); }
    std::uint64_t pageSize() override { return logged("pageSize", page); }
    std::optional<platform::VmStatistics> vmStatistics() override {
        return logged("vmStatistics", vm);
    }
    std::optional<platform::CpuTicks> cpuTicks() override { return logged("cpuTicks", ticks); }
    std::optional<std::int32_t> memoryPressureLevel() override {
        return logged("memoryPressureLevel", pressure);
    }
    std::optional<platform::SwapUsage> swapUsage() override { return logged("swapUsage", swap); }
    std::optional<platform::VolumeStatistics> dataVolume() override {
        return logged("dataVolume", volume);
    }
    std::array<double, 3> loadAverages() override { return logged("loadAverages", load); }
    std::optional<std::int64_t> bootTime() override { return logged("bootTime", boot); }

  private:
    template <typename T>
    T logged(const char* call, T answer) {
        log_.emplace_back(call);
        return answer;
    }

    CallLog& log_;
};

struct FakeProcess {
    std::int32_t pid = 0;
    std::string name;
    std::optional<std::uint64_t> footprint;
};

class FakeProcesses final : public platform::Processes {
  public:
    explicit FakeProcesses(CallLog& log) : log_(log) {}

    std::vector<FakeProcess> table; ///< in listing order
    std::int32_t ownPid = 500;

    void add(std::int32_t pid, std::string name, double gb) {
        table.push_back({pid, std::move(name), static_cast<std::uint64_t>(gb * kGiB)});
    }

    std::vector<std::int32_t> listAllPids() override {
        log_.emplace_back("listAllPids");
        std::vector<std::int32_t> pids;
        for (const FakeProcess& process : table) {
            pids.push_back(process.pid);
        }
        return pids;
    }
    std::optional<std::uint64_t> physFootprint(std::int32_t pid) override {
        log_.push_back("physFootprint " + std::to_string(pid));
        return find(pid).footprint;
    }
    std::string name(std::int32_t pid) override {
        log_.push_back("name " + std::to_string(pid));
        return find(pid).name;
    }
    void terminate(std::int32_t pid) override {
        log_.push_back("terminate " + std::to_string(pid));
    }
    std::int32_t currentProcessIdentifier() override {
        log_.emplace_back("currentProcessIdentifier");
        return ownPid;
    }

  private:
    const FakeProcess& find(std::int32_t pid) const {
        static const FakeProcess kNone;
        const auto found = std::find_if(table.begin(), table.end(),
                                        [pid](const FakeProcess& p) { return p.pid == pid; });
        return found == table.end() ? kNone : *found;
    }

    CallLog& log_;
};

class FakeAgents final : public platform::Agents {
  public:
    explicit FakeAgents(CallLog& log) : log_(log) {}

    std::set<std::string> loaded;

    bool isLoaded(const std::string& label) override {
        log_.push_back("isLoaded " + label);
        return loaded.count(label) != 0;
    }

  private:
    CallLog& log_;
};

class FakeClock final : public platform::Clock {
  public:
    explicit FakeClock(CallLog& log) : log_(log) {}

    platform::Date time = 1700000000;

    platform::Date now() override {
        log_.emplace_back("now");
        return time;
    }

  private:
    CallLog& log_;
};

/// Files in memory.
class FakeFiles final : public platform::Files {
  public:
    explicit FakeFiles(CallLog& log) : log_(log) {}

    std::string home = "/home/someone";
    std::map<std::string, std::string> content;
    bool writable = true;

    std::string homeDirectory() override {
        log_.emplace_back("homeDirectory");
        return home;
    }
    std::optional<std::string> read(const std::string& path) override {
        log_.push_back("read " + path);
        const auto found = content.find(path);
        return found == content.end() ? std::nullopt : std::optional(found->second);
    }
    bool write(const std::string& path, std::string_view bytes) override {
        log_.push_back("write " + path);
        if (writable) {
            content[path] = bytes;
        }
        return writable;
    }

  private:
    CallLog& log_;
};

/// Runs nothing by itself; a test turns it.
class FakeRunLoop final : public platform::RunLoop {
  public:
    explicit FakeRunLoop(CallLog& log) : log_(log) {}

    void async(Work work) override {
        log_.emplace_back("async");
        queue_.push_back(std::move(work));
    }
    void after(double, Work) override { log_.emplace_back("after"); }
    std::unique_ptr<platform::Timer> every(double, Work) override {
        log_.emplace_back("every");
        return nullptr;
    }
    void background(Work) override { log_.emplace_back("background"); }
    void terminate() override { log_.emplace_back("terminate"); }

    std::size_t pending() const { return queue_.size(); }

    /// Runs what is queued now.
    void turn() {
        for (std::deque<Work> work = std::exchange(queue_, {}); !work.empty(); work.pop_front()) {
            work.front()();
        }
    }

  private:
    CallLog& log_;
    std::deque<Work> queue_;
};

/// Answers every run with the same result.
class FakeChildProcesses final : public platform::ChildProcesses {
  public:
    struct Run {
        std::string executable;
        std::vector<std::string> arguments;
        platform::ChildStreams streams;
    };

    std::optional<platform::ChildResult> answer = platform::ChildResult{};
    std::vector<Run> runs;

    std::optional<platform::ChildResult> run(const std::string& executable,
                                             const std::vector<std::string>& arguments,
                                             platform::ChildStreams streams) override {
        runs.push_back({executable, arguments, streams});
        return answer;
    }
};

class FakeSwappedMemory final : public platform::SwappedMemory {
  public:
    std::optional<double> bytes = 0;
    std::vector<std::int32_t> asked;

    std::optional<double> swappedOut(std::int32_t pid) override {
        asked.push_back(pid);
        return bytes;
    }
};

/// One of each, with one log.
struct FakeSystem {
    CallLog log;
    FakeMachine machine{log};
    FakeProcesses processes{log};
    FakeAgents agents{log};
    FakeClock clock{log};
    FakeFiles files{log};
    FakeRunLoop runLoop{log};
};

} // namespace korvel::test
