#include "platform/linux/kernel/process_name.h"

#include <algorithm>

namespace korvel::platform {

namespace {

std::string_view afterLastSlash(std::string_view path) {
    return path.substr(path.rfind('/') + 1); // npos + 1 is 0
}

} // namespace

std::string lengthenedName(std::string_view comm, std::string_view commandLine) {
    // Not only the first word: that of a script is its interpreter, with an option perhaps.
    constexpr int kWords = 3;
    constexpr std::size_t kLongest = 255; // bytes
    for (int word = 0; word < kWords && !commandLine.empty(); ++word) {
        const std::size_t end = std::min(commandLine.find('\0'), commandLine.size());
        const std::string_view argument = commandLine.substr(0, end);
        commandLine.remove_prefix(std::min(end + 1, commandLine.size()));
        // A process that writes its own title may put all of it into one word.
        for (const std::string_view path : {argument, argument.substr(0, argument.find(' '))}) {
            const std::string_view name = afterLastSlash(path);
            if (name.size() > comm.size() && name.substr(0, comm.size()) == comm) {
                return std::string(name.substr(0, kLongest));
            }
        }
    }
    return std::string(comm);
}

} // namespace korvel::platform
