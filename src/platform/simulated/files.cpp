#include "platform/simulated/files.h"

namespace korvel::platform {

std::optional<std::string> SimulatedFiles::read(const std::string& path) {
    note("read ", path);
    const auto found = contents.find(path);
    if (found == contents.end() || unreadable.count(path) != 0) {
        return std::nullopt;
    }
    return found->second;
}

bool SimulatedFiles::write(const std::string& path, std::string_view bytes) {
    note("write ", path);
    if (unwritable.count(path) != 0) {
        return false;
    }
    contents[path] = bytes;
    writes.push_back({path, bytes.size()});
    if (onWrite) {
        onWrite(path, bytes);
    }
    return true;
}

} // namespace korvel::platform
