#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "platform/simulated/services.h"

namespace korvel {

/// Counts the calls of each function that a system may refuse, and says which ones it does refuse.
struct Refusals {
    std::string function;             ///< "files.read" and the like; "": none is refused
    int call = 1;                     ///< the first that is refused, from 1 on
    bool lasting = false;             ///< so is each later one
    int refused = 0;                  ///< so far
    std::map<std::string, int> calls; ///< made so far, by function

    bool refuse(const char* name) {
        const int number = ++calls[name];
        if (function != name || (lasting ? number < call : number != call)) {
            return false;
        }
        ++refused;
        return true;
    }
};

/// A simulated set whose functions fail as `refusals` says, in the way that each one's declaration
/// allows. What it was made with outlives it.
class RefusingServices {
  public:
    RefusingServices(platform::SimulatedServices& simulated, Refusals& refusals)
        : machine_(simulated, refusals), processes_(simulated, refusals),
          swappedMemory_(simulated, refusals), agents_(simulated, refusals),
          children_(simulated, refusals), files_(simulated, refusals),
          defaults_(simulated, refusals), power_(simulated, refusals),
          notifications_(simulated, refusals), bundle_(simulated, refusals),
          http_(simulated, refusals), fileManager_(simulated, refusals),
          digest_(simulated, refusals), archive_(simulated, refusals),
          signature_(simulated, refusals), loader_(simulated, refusals),
          workspace_(simulated, refusals), simulated_(simulated) {}

    platform::Services services() {
        return {.machine = machine_,
                .processes = processes_,
                .swappedMemory = swappedMemory_,
                .agents = agents_,
                .childProcesses = children_,
                .clock = simulated_.clock,
                .runLoop = simulated_.runLoop,
                .files = files_,
                .statusBar = simulated_.statusBar,
                .defaults = defaults_,
                .power = power_,
                .notifications = notifications_,
                .bundle = bundle_,
                .http = http_,
                .fileManager = fileManager_,
                .digest = digest_,
                .archive = archive_,
                .codeSignature = signature_,
                .programLoader = loader_,
                .workspace = workspace_};
    }

  private:
    /// A service that hands on to the simulated one what it does not refuse.
    template <typename Service>
    struct Refusing : public Service {
        Refusing(platform::SimulatedServices& simulatedSet, Refusals& refusalsToMake)
            : simulated(simulatedSet), refusals(refusalsToMake) {}

        bool refuse(const char* name) const { return refusals.refuse(name); }
        platform::SimulatedServices& simulated;
        Refusals& refusals;
    };

    struct Reading final : public Refusing<platform::MachineReading> {
        Reading(platform::SimulatedServices& simulatedSet, Refusals& refusalsToMake)
            : Refusing(simulatedSet, refusalsToMake), real(simulatedSet.machine.read()) {}
        template <typename Figure>
        Figure unless(const char* name, Figure (platform::MachineReading::*figure)()) {
            return refuse(name) ? Figure() : (real.get()->*figure)();
        }

        std::optional<std::uint64_t> physicalMemory() override {
            return unless("machine.physicalMemory", &MachineReading::physicalMemory);
        }
        std::optional<int> processorCount() override {
            return unless("machine.processorCount", &MachineReading::processorCount);
        }
        int thermalState() override { return real->thermalState(); }
        std::uint64_t pageSize() override { return real->pageSize(); }
        std::optional<platform::VmStatistics> vmStatistics() override {
            return unless("machine.vmStatistics", &MachineReading::vmStatistics);
        }
        std::optional<platform::CpuTicks> cpuTicks() override {
            return unless("machine.cpuTicks", &MachineReading::cpuTicks);
        }
        std::optional<std::int32_t> memoryPressureLevel() override {
            return unless("machine.memoryPressureLevel", &MachineReading::memoryPressureLevel);
        }
        std::optional<platform::SwapUsage> swapUsage() override {
            return unless("machine.swapUsage", &MachineReading::swapUsage);
        }
        std::optional<platform::VolumeStatistics> dataVolume() override {
            return unless("machine.dataVolume", &MachineReading::dataVolume);
        }
        std::optional<std::array<double, 3>> loadAverages() override {
            return unless("machine.loadAverages", &MachineReading::loadAverages);
        }
        std::optional<std::int64_t> bootTime() override {
            return unless("machine.bootTime", &MachineReading::bootTime);
        }
        platform::Unreported unreported() override { return real->unreported(); }
        std::unique_ptr<platform::MachineReading> real;
    };

    struct RefusingMachine final : public Refusing<platform::Machine> {
        using Refusing::Refusing;
        std::unique_ptr<platform::MachineReading> read() override {
            return std::make_unique<Reading>(simulated, refusals);
        }
    };

    struct RefusingProcesses final : public Refusing<platform::Processes> {
        using Refusing::Refusing;
        std::vector<std::int32_t> listAllPids() override {
            return refuse("processes.listAllPids") ? std::vector<std::int32_t>()
                                                   : simulated.processes.listAllPids();
        }
        std::optional<std::uint64_t> physFootprint(std::int32_t pid) override {
            return refuse("processes.physFootprint") ? std::nullopt
                                                     : simulated.processes.physFootprint(pid);
        }
        std::string name(std::int32_t pid) override {
            return refuse("processes.name") ? std::string() : simulated.processes.name(pid);
        }
        std::optional<std::uint64_t> startTime(std::int32_t pid) override {
            return refuse("processes.startTime") ? std::nullopt
                                                 : simulated.processes.startTime(pid);
        }
        void terminate(std::int32_t pid) override { simulated.processes.terminate(pid); }
        void terminateIfSame(std::int32_t pid, std::optional<std::uint64_t> start) override {
            if (!refuse("processes.terminateIfSame")) {
                simulated.processes.terminateIfSame(pid, start);
            }
        }
        std::int32_t currentProcessIdentifier() override {
            return simulated.processes.currentProcessIdentifier();
        }
    };

    struct RefusingSwappedMemory final : public Refusing<platform::SwappedMemory> {
        using Refusing::Refusing;
        std::optional<double> swappedOut(std::int32_t pid) override {
            return refuse("swappedMemory.swappedOut") ? std::nullopt
                                                      : simulated.swappedMemory.swappedOut(pid);
        }
    };

    struct RefusingAgents final : public Refusing<platform::Agents> {
        using Refusing::Refusing;
        bool isLoaded(const std::string& label) override {
            return !refuse("agents.isLoaded") && simulated.agents.isLoaded(label);
        }
    };

    struct RefusingChildren final : public Refusing<platform::ChildProcesses> {
        using Refusing::Refusing;
        std::optional<platform::ChildResult> run(const std::string& executable,
                                                 const std::vector<std::string>& arguments,
                                                 platform::ChildStreams streams) override {
            return refuse("childProcesses.run")
                       ? std::nullopt
                       : simulated.childProcesses.run(executable, arguments, streams);
        }
        bool start(const std::string& executable,
                   const std::vector<std::string>& arguments) override {
            return simulated.childProcesses.start(executable, arguments);
        }
    };

    struct RefusingFiles final : public Refusing<platform::Files> {
        using Refusing::Refusing;
        std::string homeDirectory() override { return simulated.files.homeDirectory(); }
        std::optional<std::string> read(const std::string& path) override {
            return refuse("files.read") ? std::nullopt : simulated.files.read(path);
        }
        bool write(const std::string& path, std::string_view bytes) override {
            return !refuse("files.write") && simulated.files.write(path, bytes);
        }
    };

    /// Settings that are not stored where it is refused.
    struct RefusingDefaults final : public Refusing<platform::UserDefaults> {
        using Refusing::Refusing;
        std::int64_t integer(const std::string& key) override {
            return simulated.defaults.integer(key);
        }
        double real(const std::string& key) override { return simulated.defaults.real(key); }
        bool boolean(const std::string& key) override { return simulated.defaults.boolean(key); }
        std::string string(const std::string& key) override {
            return simulated.defaults.string(key);
        }
        bool has(const std::string& key) override { return simulated.defaults.has(key); }
        void set(const std::string& key, std::int64_t value) override { store(key, value); }
        void set(const std::string& key, double value) override { store(key, value); }
        void set(const std::string& key, bool value) override { store(key, value); }
        void set(const std::string& key, const std::string& value) override { store(key, value); }
        void remove(const std::string& key) override {
            if (!refuse("defaults.remove")) {
                simulated.defaults.remove(key);
            }
        }
        template <typename Value>
        void store(const std::string& key, const Value& value) {
            if (!refuse("defaults.set")) {
                simulated.defaults.set(key, value);
            }
        }
    };

    /// What cannot be released goes when the process ends, so releasing is not refused.
    struct RefusingPower final : public Refusing<platform::PowerAssertions> {
        using Refusing::Refusing;
        std::optional<platform::PowerAssertionId> create(platform::PowerAssertionType type,
                                                         const std::string& name) override {
            return refuse("power.create") ? std::nullopt : simulated.power.create(type, name);
        }
        bool holds(platform::PowerAssertionId id) const override {
            return !refuse("power.holds") && simulated.power.holds(id);
        }
        void release(platform::PowerAssertionId id) override { simulated.power.release(id); }
    };

    struct RefusingNotifications final : public Refusing<platform::Notifications> {
        using Refusing::Refusing;
        void requestAuthorisation() override { simulated.notifications.requestAuthorisation(); }
        void post(const platform::Notification& notification) override {
            if (!refuse("notifications.post")) {
                simulated.notifications.post(notification);
            }
        }
    };

    struct RefusingBundle final : public Refusing<platform::Bundle> {
        using Refusing::Refusing;
        std::string path() override { return simulated.bundle.path(); }
        std::optional<std::string> infoString(const std::string& key) override {
            return simulated.bundle.infoString(key);
        }
        bool parentWritable() override {
            return !refuse("bundle.parentWritable") && simulated.bundle.parentWritable();
        }
        bool managedElsewhere() override { return simulated.bundle.managedElsewhere(); }
    };

    /// A server that cannot be reached where it is refused.
    struct RefusingHttp final : public Refusing<platform::Http> {
        using Refusing::Refusing;
        void get(const std::string& url, double timeout,
                 std::function<void(std::optional<platform::HttpResponse>)> done) override {
            if (refuse("http.get")) {
                simulated.runLoop.async([done = std::move(done)] { done(std::nullopt); });
            } else {
                simulated.http.get(url, timeout, std::move(done));
            }
        }
        void download(const std::string& url, const std::string& folder,
                      std::function<void(std::optional<platform::HttpDownload>)> done) override {
            if (refuse("http.download")) {
                simulated.runLoop.async([done = std::move(done)] { done(std::nullopt); });
            } else {
                simulated.http.download(url, folder, std::move(done));
            }
        }
    };

    struct RefusingFileManager final : public Refusing<platform::FileManager> {
        using Refusing::Refusing;
        using Moved = Status<std::errc>;
        Moved unless(const char* name, const std::string& subject) const {
            return refuse(name) ? Moved(Error{std::errc::io_error, subject}) : Moved();
        }
        std::string temporaryDirectory() override {
            return simulated.fileManager.temporaryDirectory();
        }
        std::string makeWorkFolder(const std::string& name, const std::string& place) override {
            return refuse("fileManager.makeWorkFolder")
                       ? simulated.fileManager.temporary + "/" + name
                       : simulated.fileManager.makeWorkFolder(name, place);
        }
        bool createDirectory(const std::string& path) override {
            return !refuse("fileManager.createDirectory") &&
                   simulated.fileManager.createDirectory(path);
        }
        Moved move(const std::string& from, const std::string& to) override {
            const Moved moved = unless("fileManager.move", from);
            return moved ? simulated.fileManager.move(from, to) : moved;
        }
        bool exchange(const std::string& one, const std::string& other) override {
            return !refuse("fileManager.exchange") && simulated.fileManager.exchange(one, other);
        }
        Moved flush(const std::string& folder) override {
            const Moved flushed = unless("fileManager.flush", folder);
            return flushed ? simulated.fileManager.flush(folder) : flushed;
        }
        Moved recordReplacement(const std::string& workFolder, const std::string& place) override {
            const Moved recorded = unless("fileManager.recordReplacement", place);
            return recorded ? simulated.fileManager.recordReplacement(workFolder, place) : recorded;
        }
        void remove(const std::string& path) override {
            if (!refuse("fileManager.remove")) {
                simulated.fileManager.remove(path);
            }
        }
        std::optional<std::vector<std::string>> contents(const std::string& path) override {
            return refuse("fileManager.contents") ? std::nullopt
                                                  : simulated.fileManager.contents(path);
        }
    };

    struct RefusingDigest final : public Refusing<platform::Digest> {
        using Refusing::Refusing;
        std::optional<platform::Sha256> sha256OfFile(const std::string& path) override {
            return refuse("digest.sha256OfFile") ? std::nullopt
                                                 : simulated.digest.sha256OfFile(path);
        }
    };

    struct RefusingArchive final : public Refusing<platform::Archive> {
        using Refusing::Refusing;
        Status<platform::ArchiveFault> unpack(const std::string& archive,
                                              const std::string& folder) override {
            if (simulated.fileManager.folders.count(folder) == 0) {
                return Error{platform::ArchiveFault::noFolder};
            }
            const auto unpacked = simulated.archive.unpack(archive, folder); // some of it is there
            return refuse("archive.unpack") ? Error{platform::ArchiveFault::unwritable} : unpacked;
        }
    };

    struct RefusingSignature final : public Refusing<platform::CodeSignature> {
        using Refusing::Refusing;
        std::optional<std::string> describe(const std::string& bundle) override {
            return refuse("codeSignature.describe") ? std::nullopt
                                                    : simulated.codeSignature.describe(bundle);
        }
        Status<platform::BundleFault> verifyStrictly(const std::string& bundle,
                                                     std::int64_t build) override {
            const auto verified = simulated.codeSignature.verifyStrictly(bundle, build);
            return refuse("codeSignature.verifyStrictly") ? Error{platform::BundleFault::noTool}
                                                          : verified;
        }
        void installed(std::int64_t build) override { simulated.codeSignature.installed(build); }
    };

    struct RefusingLoader final : public Refusing<platform::ProgramLoader> {
        using Refusing::Refusing;
        Status<platform::LoadFault> check(const std::string& bundle) override {
            const auto loads = simulated.programLoader.check(bundle);
            return refuse("programLoader.check") ? Error{platform::LoadFault::notTold} : loads;
        }
    };

    struct RefusingWorkspace final : public Refusing<platform::Workspace> {
        using Refusing::Refusing;
        void reveal(const std::string& path) override { simulated.workspace.reveal(path); }
        void relaunch(const std::string& bundle) override {
            if (!refuse("workspace.relaunch")) {
                simulated.workspace.relaunch(bundle);
            }
        }
    };

    RefusingMachine machine_;
    RefusingProcesses processes_;
    RefusingSwappedMemory swappedMemory_;
    RefusingAgents agents_;
    RefusingChildren children_;
    RefusingFiles files_;
    RefusingDefaults defaults_;
    RefusingPower power_;
    RefusingNotifications notifications_;
    RefusingBundle bundle_;
    RefusingHttp http_;
    RefusingFileManager fileManager_;
    RefusingDigest digest_;
    RefusingArchive archive_;
    RefusingSignature signature_;
    RefusingLoader loader_;
    RefusingWorkspace workspace_;
    platform::SimulatedServices& simulated_;
};

} // namespace korvel
