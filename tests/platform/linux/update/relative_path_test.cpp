#include "platform/linux/update/relative_path.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

TEST(RelativePath, OnesUpToTheBoundsAreTaken) {
    std::string deep;
    for (std::size_t i = 1; i < kDeepestBundlePath; ++i) {
        deep += "d/";
    }
    EXPECT_TRUE(isPlainRelativePath(deep + "f"));
    EXPECT_TRUE(isPlainRelativePath(deep + "f/"));
    EXPECT_FALSE(isPlainRelativePath(deep + "d/f"));
    EXPECT_TRUE(isPlainRelativePath(std::string(255, 'a')));
    EXPECT_FALSE(isPlainRelativePath(std::string(256, 'a')));
    std::string longest;
    while (longest.size() + 250 < kLongestBundlePath) {
        longest += std::string(249, 'a') + "/";
    }
    longest += std::string(kLongestBundlePath - longest.size(), 'b');
    EXPECT_TRUE(isPlainRelativePath(longest));
    EXPECT_FALSE(isPlainRelativePath(longest + "b"));
    for (const char* name : {"...", "..a", "a..", ".a", " ", "ü", "日本", "😀", "a b", "-"}) {
        EXPECT_TRUE(isPlainRelativePath(name)) << name;
    }
}

TEST(RelativePath, LinksToWhatIsInsideAreTaken) {
    const std::pair<const char*, const char*> inside[] = {
        {"l", "a"},        {"l", "."},   {"a/l", ".."},        {"a/b/l", "../../c/d"},
        {"a/l", "./../b"}, {"l", "..a"}, {"l", "missing/too"}, {"a/l", "..//b/"}};
    for (const auto& [path, target] : inside) {
        EXPECT_TRUE(linkStaysInside(path, target)) << path << " -> " << target;
    }
}

} // namespace
} // namespace korvel::platform
