#include "platform/linux/session/replaced_toolkit.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

constexpr const char* kFields =
    "7f5c8e200000-7f5c8e2a0000 r--p 00000000 08:01 1234                 ";

TEST(ToolkitWasReplaced, OnlyWhereAnotherLibraryOfQtIsInThePlaceOfAMappedOne) {
    const struct {
        const char* what;
        const char* mapped; ///< below the folder that the libraries are in
        bool replaced;
    } cases[] = {
        {"unchanged", "/lib/libQt6Core.so.6.4.2", false},
        {"replaced", "/lib/libQt6Core.so.6.4.2 (deleted)", true},
        {"replaced by another version", "/lib/libQt6Core.so.6.4.1 (deleted)", true},
        {"replaced where the name has no version", "/lib/libQt6Core.so (deleted)", true},
        {"removed", "/lib/libQt6Gui.so.6.4.2 (deleted)", false},
        {"its link leads nowhere", "/lib/libQt6Dangling.so.6.4.2 (deleted)", false},
        {"no library of Qt", "/lib/libfmt.so.9 (deleted)", false},
        {"a space in the path", "/a lib/libQt6Core.so.6.4.2 (deleted)", true},
    };
    const TempTree tree;
    for (const char* file : {"lib/libQt6Core.so.6.4.2", "lib/libQt6Core.so", "lib/libfmt.so.9",
                             "a lib/libQt6Core.so.6.4.2"}) {
        tree.write(file, "");
    }
    std::filesystem::create_symlink("libQt6Core.so.6.4.2", tree.root() + "/lib/libQt6Core.so.6");
    std::filesystem::create_symlink("none", tree.root() + "/lib/libQt6Dangling.so.6");
    for (const auto& row : cases) {
        const std::string line = kFields + tree.root() + row.mapped + "\n";
        tree.write("maps", std::string("7ffd1000-7ffd2000 rw-p 00000000 00:00 0 [stack]\n") +
                               "7ffd3000-7ffd4000 rw-p 00000000 00:00 0 \n" + line);
        EXPECT_EQ(toolkitWasReplaced(tree.root() + "/maps"), row.replaced) << row.what;
        // One that has nothing in its place yet: an upgrade is under way.
        tree.write("maps", line + kFields + tree.root() + "/lib/libQt6Qml.so.6.4.2 (deleted)\n");
        EXPECT_FALSE(toolkitWasReplaced(tree.root() + "/maps")) << row.what;
    }
    EXPECT_FALSE(toolkitWasReplaced(tree.root() + "/none"));
    EXPECT_FALSE(toolkitWasReplaced()) << "of this process";
}

} // namespace
} // namespace korvel::platform
