#include <algorithm>
#include <string>

#include "fuzz/fuzz.h"
#include "platform/linux/update/elf_program.h"
#include "platform/linux/update/loader_trace.h"

using korvel::platform::LoadFault;

namespace {

void requireShown(const std::string& text) {
    constexpr std::size_t kLongest = 100;
    require(text.size() <= kLongest, "what is named is short");
    require(std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; }),
            "what is named is printable");
}

} // namespace

// Any bytes are a program or none, and a list of libraries with a fault in it or without.
void fuzz(std::string_view bytes) {
    // Beside itself every program is for one and the same processor.
    const auto program = korvel::platform::readElfProgram(bytes, bytes);
    if (program) {
        const std::string& path = program->interpreter;
        require(path.empty() || path.front() == '/', "a loader has an absolute path");
        require(path.find('\0') == std::string::npos, "which can be handed to the system");
        require(path.size() < bytes.size(), "and is no longer than the file");
    } else {
        require(program.error().code == LoadFault::notAProgram, "the processor is its own");
    }
    for (const int status : {0, 1}) {
        const auto listed =
            korvel::platform::readLoaderTrace({std::string(bytes), status}, "/K.app/korvel");
        require(!listed || status == 0, "a loader that fails loads nothing");
        if (!listed) {
            requireShown(listed.error().subject);
            requireShown(listed.error().detail);
        }
    }
}
