#include "platform/macos/scripted_calls.h"

#include <algorithm>
#include <csignal>
#include <cstring>

#include <libproc.h>
#include <mach/mach.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/sysctl.h>
#include <unistd.h>

namespace korvel::standin {

Script* script = nullptr;

const Sysctl* Script::find(const std::string& name) const {
    for (const Sysctl& sysctl : sysctls) {
        if (sysctl.name == name) {
            return &sysctl;
        }
    }
    return nullptr;
}

namespace {

constexpr host_t kHost = 0x1703;
constexpr mach_port_t kTask = 0x103;

std::string text(long long number) {
    return std::to_string(number);
}

/// What is put behind a call whose memory was not cleared before it.
std::string ifDirty(const void* memory, std::size_t size) {
    const char* const bytes = static_cast<const char*>(memory);
    const bool clear = std::all_of(bytes, bytes + size, [](char byte) { return byte == 0; });
    return clear ? "" : ", not cleared";
}

template <std::size_t Words>
int hostStatistics(const std::string& call, host_t host, int result, integer_t* room,
                   mach_msg_type_number_t* count, std::uint32_t countOut,
                   const std::array<std::uint32_t, Words>& words) {
    const bool hostHeld = host == kHost && script->hostRights > 0;
    script->calls.push_back(call + " count " + text(*count) +
                            ifDirty(room, *count * sizeof(integer_t)) +
                            (hostHeld ? "" : ", with no right to the host"));
    if (result == KERN_SUCCESS) {
        const std::size_t written = std::min<std::size_t>({*count, countOut, Words});
        std::memcpy(room, words.data(), written * sizeof(integer_t));
        *count = countOut;
    }
    return result;
}

int answer(const std::string& call, const std::string& name, void* value, std::size_t* size,
           const void* newValue, std::size_t newSize) {
    script->calls.push_back(call + " size " + text(static_cast<long long>(*size)) +
                            ifDirty(value, *size) +
                            (newValue != nullptr || newSize != 0 ? ", with a new value" : ""));
    const Sysctl* const sysctl = script->find(name);
    if (sysctl == nullptr || sysctl->result != 0) {
        return -1;
    }
    std::memcpy(value, sysctl->bytes.data(), std::min(*size, sysctl->bytes.size()));
    *size = sysctl->size;
    return 0;
}

} // namespace
} // namespace korvel::standin

using namespace korvel::standin;

extern "C" {

// What the standard library wants of the system besides.
mach_port_t mach_task_self_ = kTask;
vm_size_t vm_kernel_page_size = 16384;

mach_port_t mach_host_self() {
    script->calls.emplace_back("mach_host_self");
    ++script->hostRights;
    return kHost;
}

kern_return_t mach_port_deallocate(ipc_space_t task, mach_port_name_t name) {
    script->calls.emplace_back("mach_port_deallocate");
    if (task != kTask || name != kHost) {
        script->calls.back() += ", of another port";
        return KERN_INVALID_NAME;
    }
    --script->hostRights;
    return KERN_SUCCESS;
}

kern_return_t host_statistics64(host_t host, host_flavor_t flavor, host_info64_t room,
                                mach_msg_type_number_t* count) {
    return hostStatistics("host_statistics64 flavor " + text(flavor), host, script->vmResult, room,
                          count, script->vmCountOut, script->vmWords);
}

kern_return_t host_statistics(host_t host, host_flavor_t flavor, host_info_t room,
                              mach_msg_type_number_t* count) {
    return hostStatistics("host_statistics flavor " + text(flavor), host, script->cpuResult, room,
                          count, script->cpuCountOut, script->cpuWords);
}

int sysctlbyname(const char* name, void* value, size_t* size, void* newValue, size_t newSize) {
    return answer(std::string("sysctlbyname ") + name, name, value, size, newValue, newSize);
}

int sysctl(int* name, u_int length, void* value, size_t* size, void* newValue, size_t newSize) {
    std::string joined;
    for (u_int i = 0; i < length; ++i) {
        joined += (i == 0 ? "" : ".") + text(name[i]);
    }
    return answer("sysctl " + joined, joined, value, size, newValue, newSize);
}

int statfs(const char* path, struct statfs* volume) {
    script->calls.push_back(std::string("statfs ") + path + ifDirty(volume, sizeof(*volume)));
    if (script->statfsResult != 0) {
        return script->statfsResult;
    }
    volume->f_bsize = static_cast<std::uint32_t>(script->volume[0]);
    volume->f_iosize = 1 << 20;
    volume->f_blocks = script->volume[1];
    volume->f_bfree = script->volume[2];
    volume->f_bavail = script->volume[3];
    return 0;
}

int getloadavg(double* averages, int count) {
    script->calls.push_back("getloadavg " + text(count) +
                            ifDirty(averages, static_cast<std::size_t>(count) * sizeof(double)));
    std::copy(script->load.begin(), script->load.end(), averages);
    return script->load.empty() ? -1 : static_cast<int>(script->load.size());
}

int proc_listallpids(void* buffer, int size) {
    if (buffer == nullptr) {
        script->calls.push_back("proc_listallpids null size " + text(size));
        return script->firstListing;
    }
    script->calls.push_back("proc_listallpids size " + text(size) +
                            ifDirty(buffer, static_cast<std::size_t>(size)));
    std::memcpy(
        buffer, script->pids.data(),
        std::min(script->pids.size() * sizeof(std::int32_t), static_cast<std::size_t>(size)));
    return script->secondListing;
}

int proc_pid_rusage(int pid, int flavor, rusage_info_t* buffer) {
    auto* const usage = reinterpret_cast<rusage_info_v2*>(buffer);
    script->calls.push_back("proc_pid_rusage " + text(pid) + " flavor " + text(flavor) +
                            ifDirty(usage, sizeof(*usage)));
    for (const auto& [running, footprint] : script->footprints) {
        if (running == pid) {
            std::memset(buffer, 0x5A, sizeof(*usage));
            usage->ri_phys_footprint = footprint;
            usage->ri_proc_start_abstime = script->startTime;
            return 0;
        }
    }
    return -1;
}

int proc_name(int pid, void* buffer, uint32_t size) {
    script->calls.push_back("proc_name " + text(pid) + " size " + text(size) +
                            ifDirty(buffer, size));
    for (const auto& [running, name] : script->names) {
        if (running == pid) {
            std::memcpy(buffer, name.data(), std::min<std::size_t>(name.size(), size));
            return static_cast<int>(name.size());
        }
    }
    return 0;
}

int kill(pid_t pid, int signal) {
    script->calls.push_back("kill " + text(pid) + " signal " + text(signal));
    return script->killResult;
}

pid_t getpid() {
    return 4242;
}

} // extern "C"
