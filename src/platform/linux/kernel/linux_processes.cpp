#include "platform/linux/kernel/linux_processes.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <utility>

#include <sys/resource.h>
#include <unistd.h>

#include "platform/linux/kernel/every_minute.h"
#include "platform/linux/kernel/process_name.h"
#include "platform/linux/kernel/process_signal.h"
#include "platform/linux/kernel/process_status.h"
#include "platform/linux/kernel/root_folder.h"

namespace korvel::platform {

namespace {

std::uint64_t bytesPerPage() {
    static const long size = ::sysconf(_SC_PAGESIZE);
    return static_cast<std::uint64_t>(size);
}

} // namespace

void raiseDescriptorLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

LinuxProcesses::LinuxProcesses(const std::string& root, FileCalls& calls, std::size_t mostKept,
                               std::shared_ptr<MeminfoReader> meminfo)
    : table_(root, calls, mostKept),
      meminfo_(meminfo ? std::move(meminfo)
                       : std::make_shared<MeminfoReader>(calls, rootFolder(root))) {}

std::vector<std::int32_t> LinuxProcesses::listAllPids() {
    const std::lock_guard lock(mutex_);
    std::vector<std::int32_t> pids = table_.list();
    if (pids.empty()) {
        return pids;
    }
    const std::optional<Meminfo> memory = meminfo_->readOrHandOn();
    const std::optional<SwapUsage> swap = memory ? swapUsage(*memory) : std::nullopt;
    swapInUse_ = swap && swap->xsu_used > 0;
    shmem_ = memory ? memory->shmem.value_or(0) : 0;
    ++listings_;
    if (anyHolders_) {
        weighHolders();
    }
    return pids;
}

std::optional<std::uint64_t> LinuxProcesses::physFootprint(std::int32_t pid) {
    const std::lock_guard lock(mutex_);
    KeptProcess& process = table_.find(pid);
    const std::optional<Statm> statm = readStatm(process);
    if (!statm) {
        return std::nullopt;
    }
    switch (readStatus(process, *statm)) {
    case Held::asBefore:
        break;
    case Held::anew:
        weighHolders();
        break;
    case Held::muchMore:
        weighAll(process);
    }
    const ProcessFacts& facts = process.facts;
    return statm->anonymous() * bytesPerPage() + (swapInUse_ ? facts.swapped : 0) +
           (facts.holding ? facts.holding->share() : 0);
}

std::optional<Statm> LinuxProcesses::readStatm(KeptProcess& process) {
    const auto text = table_.read(process, &KeptProcess::statm, "statm");
    return text ? parseStatm(*text) : std::nullopt;
}

LinuxProcesses::Held LinuxProcesses::readStatus(KeptProcess& process, const Statm& statm) {
    constexpr std::uint32_t kLongest = 12; // listings; spread over them by the pid
    ProcessFacts& facts = process.facts;
    const std::uint64_t sharedBytes = statm.shared * bytesPerPage();
    // Somewhat less for who is a holder already, or one at the limit would come and go.
    const std::uint64_t least = facts.holding ? kLeastShared / 2 : kLeastShared;
    // Without an address space nothing can be swapped out.
    const bool maySwap = swapInUse_ && statm.size != 0;
    const bool mayShare = shmem_ > kLeastShared && sharedBytes > least;
    if (!maySwap && !mayShare) {
        table_.close(process.status);
        facts.seen = Statm();
        facts.holding.reset();
        return Held::asBefore;
    }
    // What belongs to files is most of it, and of no interest, until there is room for more.
    const std::uint64_t sharedThen = facts.seen.shared * bytesPerPage();
    const bool mayShareMore =
        facts.holding ? sharedBytes != sharedThen
                      : sharedBytes > sharedThen && facts.shared + sharedBytes - sharedThen > least;
    const bool due = (listings_ + static_cast<std::uint32_t>(process.pid)) % kLongest == 0;
    if (!due && !(maySwap && statm != facts.seen) && !(mayShare && mayShareMore)) {
        return Held::asBefore;
    }
    const auto status = table_.read(process, &KeptProcess::status, "status");
    const auto swapped = status ? parseVmSwap(*status) : std::nullopt;
    // Not to be kept when it could not be read: a real process's figures are never all 0.
    facts.seen = swapped ? statm : Statm();
    facts.swapped = swapped.value_or(0);
    facts.shared = mayShare && status ? parseRssShmem(*status).value_or(0) : 0;
    if (facts.shared <= least) {
        facts.holding.reset();
        return Held::asBefore;
    }
    const bool isNew = !facts.holding;
    if (isNew) {
        facts.holding = std::make_unique<SharedHolding>();
    }
    SharedHolding& holding = *facts.holding;
    const std::uint64_t grown = facts.shared - std::min(holding.resident, facts.shared);
    holding.pid = process.pid;
    holding.parent = parseParent(*status).value_or(0);
    holding.resident = facts.shared;
    holding.process = statm.resident * bytesPerPage();
    if (grown > std::max(kLeastShared / 2, shmem_ / 8)) {
        return Held::muchMore;
    }
    return isNew ? Held::anew : Held::asBefore;
}

void LinuxProcesses::weighAll(const KeptProcess& read) {
    // Others may have grown as much and are asked later in the order: a database whose processes
    // all fill the same memory would be taken for its first process alone.
    if (std::exchange(weighedAt_, listings_) != listings_) {
        for (KeptProcess& process : table_.processes()) {
            const auto statm = &process != &read ? readStatm(process) : std::nullopt;
            if (statm) {
                readStatus(process, *statm);
            }
        }
    }
    weighHolders();
}

void LinuxProcesses::weighHolders() {
    std::vector<SharedHolding*> holders;
    for (const KeptProcess& process : table_.processes()) {
        if (process.facts.holding) {
            holders.push_back(process.facts.holding.get());
        }
    }
    anyHolders_ = !holders.empty();
    const std::uint64_t all = residentOfAll(holders);
    SharedHolding* next = nullptr; // the largest; one at a listing, because it takes long
    for (SharedHolding* holding : holders) {
        if ((next == nullptr || holding->resident > next->resident) &&
            isMeasurementDue(*holding, all, listings_)) {
            next = holding;
        }
    }
    if (next != nullptr && measuredAt_ != listings_) {
        measuredAt_ = listings_;
        const auto text = table_.readOnce(next->pid, "smaps_rollup");
        next->proportional = text ? parsePssShmem(*text) : std::nullopt;
        next->measuredAt = listings_;
        next->residentThen = next->resident;
        next->allThen = all;
    }
    splitSharedMemory(holders, shmem_);
}

std::string LinuxProcesses::name(std::int32_t pid) {
    constexpr std::size_t kCutAt = 15; // bytes; longer names are cut by the kernel
    const std::lock_guard lock(mutex_);
    KeptProcess& process = table_.find(pid);
    std::optional<std::string_view> comm = table_.read(process, &KeptProcess::comm, "comm");
    if (!comm) {
        return {};
    }
    if (!comm->empty() && comm->back() == '\n') {
        comm->remove_suffix(1); // the one that ends the file; others belong to the name
    }
    if (comm->size() < kCutAt) {
        return std::string(*comm);
    }
    // The command line is asked for only when the name has changed: to read it the kernel has to
    // wait for the process's own memory.
    ProcessFacts& facts = process.facts;
    if (facts.shortName != *comm) {
        facts.shortName = *comm;
        const auto commandLine = table_.readOnce(pid, "cmdline");
        facts.longName = lengthenedName(facts.shortName, commandLine.value_or(std::string_view()));
    }
    return facts.longName;
}

std::optional<std::uint64_t> LinuxProcesses::startTime(std::int32_t pid) {
    const std::lock_guard lock(mutex_);
    KeptProcess& process = table_.find(pid);
    std::optional<std::uint64_t>& known = process.facts.startTime;
    if (!known) {
        if (!process.statm) {
            table_.read(process, &KeptProcess::statm, "statm");
        }
        known = startTimeNow(pid);
        // It may be that of a successor. Then what is kept of the process fails and is forgotten.
        table_.read(process, &KeptProcess::statm, "statm");
    }
    // Without a kept file nothing would tell that the process has gone.
    return process.statm ? known : std::exchange(known, std::nullopt);
}

std::optional<std::uint64_t> LinuxProcesses::startTimeNow(std::int32_t pid) {
    const auto text = table_.readOnce(pid, "stat");
    return text ? parseStartTime(*text) : std::nullopt;
}

void LinuxProcesses::terminate(std::int32_t pid) {
    // 0 and below would mean whole groups.
    if (pid > 0) {
        ::kill(pid, SIGTERM);
    }
}

void LinuxProcesses::terminateIfSame(std::int32_t pid, std::optional<std::uint64_t> startTime) {
    if (startTime) {
        terminateIf(pid, [&] {
            const std::lock_guard lock(mutex_);
            return startTimeNow(pid) == startTime;
        });
    }
}

std::int32_t LinuxProcesses::currentProcessIdentifier() {
    return ::getpid();
}

bool LinuxProcesses::hidesOthers() {
    constexpr std::uint32_t kListingsBetween = kReadingsAMinute;
    const std::lock_guard lock(mutex_);
    const std::vector<KeptProcess>& processes = table_.processes();
    if (processes.empty()) {
        return false; // a table that cannot be read hides nobody
    }
    if (processes.front().pid == 1 && processes.front().statm) {
        return false; // it was read and is kept
    }
    if (lookedAt_ == 0 || listings_ - lookedAt_ >= kListingsBetween) {
        lookedAt_ = listings_;
        hidesOthers_ =
            !table_.readOnce(1, "statm") && (errno == ENOENT || errno == EPERM || errno == EACCES);
    }
    return hidesOthers_;
}

std::size_t LinuxProcesses::keptDescriptors() {
    const std::lock_guard lock(mutex_);
    return table_.keptDescriptors();
}

} // namespace korvel::platform
