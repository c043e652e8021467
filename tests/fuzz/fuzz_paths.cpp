#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>

#include "base/utf8.h"
#include "fuzz/fuzz.h"
#include "platform/linux/update/relative_path.h"

namespace fs = std::filesystem;

namespace {

/// The names that a path leads over, by the standard library.
std::ptrdiff_t depthOf(const fs::path& path) {
    return std::distance(path.begin(), path.end());
}

} // namespace

// A path that is taken stays in its folder, and so does a link, as the standard library resolves
// them. The input is a path and, on the next line, the target of a link.
void fuzz(std::string_view bytes) {
    using korvel::platform::isPlainRelativePath;
    using korvel::platform::linkStaysInside;
    const std::size_t end = std::min(bytes.find('\n'), bytes.size());
    const std::string_view path = bytes.substr(0, end);
    const std::string_view target = bytes.substr(std::min(end + 1, bytes.size()));
    const bool isFolder = path.ends_with('/');
    const fs::path whole(path.substr(0, path.size() - (isFolder ? 1 : 0)));
    const bool isPlain = isPlainRelativePath(path);
    if (isPlain) {
        require(korvel::isPlainText(path), "a path is plain text");
        require(whole.is_relative() && whole.lexically_normal() == whole && *whole.begin() != "." &&
                    *whole.begin() != "..",
                "a path leads down and nowhere else");
        require(depthOf(whole) <= 32, "a path is not deep");
        require(std::all_of(whole.begin(), whole.end(),
                            [](const fs::path& name) { return name.native().size() <= 255; }),
                "a name is one that a file system has");
    }
    const bool isInside = linkStaysInside(path, target);
    if (isPlain && !isFolder && isInside) {
        const fs::path led = whole.parent_path() / fs::path(target);
        const fs::path resolved = led.lexically_normal();
        require(led.is_relative(), "a link is relative");
        require(resolved.empty() || *resolved.begin() != "..", "a link leads to the inside");
        // Where a name of it is a link itself, what is above is not what stands before it.
        const fs::path way(target);
        const auto down = std::find_if(way.begin(), way.end(), [](const fs::path& name) {
            return name != ".." && name != "." && !name.empty();
        });
        require(std::find(down, way.end(), "..") == way.end(), "up at the start only");
    }
    require(!isPlain || isFolder || !isPlainRelativePath(target) || isInside,
            "what lies beside a link or below may be linked to");
}
