#include "platform/linux/kernel/own_memory.h"

#include <charconv>
#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>

#include <malloc.h>
#include <sys/mman.h>

namespace korvel::platform {

namespace {

struct Mapping {
    std::uintptr_t start = 0;
    std::uintptr_t end = 0;
};

/// A line of /proc/self/maps, "start-end rwxp offset device inode path", when it is a mapping that
/// holds nothing but a file's own bytes: code, which no relocation writes into. Code that was made
/// in memory, as Qt makes it for what runs often, looks the same but for a file without a name, and
/// would be gone for good.
bool isCode(std::string_view line, Mapping& mapping) {
    const char* const end = line.data() + line.size();
    const auto first = std::from_chars(line.data(), end, mapping.start, 16);
    if (first.ec != std::errc() || first.ptr == end || *first.ptr != '-') {
        return false;
    }
    const auto second = std::from_chars(first.ptr + 1, end, mapping.end, 16);
    const std::string_view rest(second.ptr, static_cast<std::size_t>(end - second.ptr));
    return second.ec == std::errc() && rest.starts_with(" r-xp ") &&
           rest.find(" /") != std::string_view::npos && !rest.ends_with(" (deleted)");
}

} // namespace

void giveMemoryBack() {
    ::malloc_trim(0);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (Mapping mapping; isCode(line, mapping)) {
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel tells addresses as text
            ::madvise(reinterpret_cast<void*>(mapping.start), mapping.end - mapping.start,
                      MADV_DONTNEED);
        }
    }
}

} // namespace korvel::platform
