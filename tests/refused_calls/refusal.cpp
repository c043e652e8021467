#include "refused_calls/refusal.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace korvel::test {

namespace {

struct Record {
    char name[24]; ///< zero behind it
    std::atomic<std::uint32_t> calls;
    std::atomic<std::uint32_t> refused;
};
static_assert(sizeof(Record) == 32);

constexpr int kDescriptors = 4096; // those beyond are not followed

struct State {
    bool ready = false;
    std::uintptr_t begin = 0; ///< of the program's code
    std::uintptr_t end = 0;
    std::string_view under;
    char function[24] = "";
    unsigned number = 0;
    int error = 0; ///< less than 0: half of the bytes
    bool lasting = false;
    char endFunction[24] = "";
    unsigned endNumber = 0;
    std::array<Record, kRefusable.size()>* records = nullptr;
    std::array<std::atomic<bool>, kDescriptors> followed{};
};

State state;

int takeCode(dl_phdr_info* info, std::size_t, void*) {
    for (int at = 0; at < info->dlpi_phnum; ++at) { // the program is the first
        const auto& segment = info->dlpi_phdr[at];
        if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0) {
            state.begin = info->dlpi_addr + segment.p_vaddr;
            state.end = state.begin + segment.p_memsz;
        }
    }
    return 1;
}

std::string_view variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// "NAME NUMBER REST", where a name may have blanks.
std::string_view parse(std::string_view text, char (&name)[24], unsigned& number) {
    const std::size_t digits = text.find_first_of("0123456789", text.find(' '));
    if (digits == std::string_view::npos || digits > sizeof name) {
        return "";
    }
    std::memcpy(name, text.data(), digits - 1);
    number = static_cast<unsigned>(std::atoi(text.data() + digits));
    const std::size_t rest = text.find(' ', digits);
    return rest == std::string_view::npos ? "" : text.substr(rest + 1);
}

[[gnu::constructor]] void begin() {
    std::array<char, 4096> executable{};
    const ssize_t length =
        ::syscall(SYS_readlink, "/proc/self/exe", executable.data(), executable.size());
    const std::string_view counts = variable("KORVEL_REFUSE_COUNTS");
    if (length <= 0 || counts.empty() ||
        std::string_view(executable.data(), static_cast<std::size_t>(length)) !=
            variable("KORVEL_REFUSE_IN")) {
        return;
    }
    const int file = static_cast<int>(
        ::syscall(SYS_openat, AT_FDCWD, counts.data(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (file < 0 || ::syscall(SYS_ftruncate, file, sizeof *state.records) != 0) {
        std::abort();
    }
    const long mapped = ::syscall(SYS_mmap, nullptr, sizeof *state.records, PROT_READ | PROT_WRITE,
                                  MAP_SHARED, file, 0);
    ::syscall(SYS_close, file);
    state.records = reinterpret_cast<std::array<Record, kRefusable.size()>*>(mapped);
    for (std::size_t at = 0; at < kRefusable.size(); ++at) {
        std::strncpy((*state.records)[at].name, kRefusable[at], sizeof(Record::name));
    }
    ::dl_iterate_phdr(takeCode, nullptr);
    state.under = variable("KORVEL_REFUSE_UNDER");
    const std::string_view error = parse(variable("KORVEL_REFUSE"), state.function, state.number);
    if (!error.empty()) {
        state.error = std::atoi(error.data());
        state.lasting = error.ends_with('+');
    }
    parse(variable("KORVEL_REFUSE_END"), state.endFunction, state.endNumber);
    state.ready = true;
}

} // namespace

bool lies(const char* path) {
    std::string_view rest = state.under;
    while (path != nullptr && !rest.empty()) {
        const std::string_view folder = rest.substr(0, rest.find(':'));
        if (std::string_view(path).starts_with(folder)) {
            return true;
        }
        rest.remove_prefix(folder.size() == rest.size() ? rest.size() : folder.size() + 1);
    }
    return false;
}

bool follows(int file) {
    return file >= 0 && file < kDescriptors && state.followed[static_cast<std::size_t>(file)];
}

int follow(int file, bool inFolders) {
    if (file >= 0 && file < kDescriptors) {
        state.followed[static_cast<std::size_t>(file)] = inFolders;
    }
    return file;
}

int refuse(std::size_t function, const void* caller, bool counts) {
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    if (!state.ready || !(counts || (address >= state.begin && address < state.end))) {
        return 0;
    }
    Record& record = (*state.records)[function];
    const unsigned number = ++record.calls;
    if (number == state.endNumber && std::string_view(state.endFunction) == kRefusable[function]) {
        ::syscall(SYS_kill, ::getpid(), SIGTERM);
    }
    if (std::string_view(state.function) != kRefusable[function] ||
        !(number == state.number || (state.lasting && number > state.number))) {
        return 0;
    }
    ++record.refused;
    if (state.error > 0) {
        errno = state.error;
    }
    return state.error;
}

} // namespace korvel::test
