#include "platform/posix/file_tree.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/posix/file_descriptor.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

TEST(FolderNames, AreThoseOfTheFolderAndAtMostAsManyAsAsked) {
    const TempTree tree;
    const FileDescriptor folder(::open(tree.root().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    EXPECT_EQ(folderNames(folder.get(), 0), std::vector<std::string>());
    tree.write("b", "");
    tree.write(".a/c", "");
    auto names = folderNames(folder.get(), 2);
    ASSERT_TRUE(names);
    std::sort(names->begin(), names->end());
    EXPECT_EQ(*names, (std::vector<std::string>{".a", "b"}));
    EXPECT_EQ(folderNames(folder.get())->size(), 2U) << "a second time too";
    errno = 0;
    EXPECT_EQ(folderNames(folder.get(), 1), std::nullopt);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(folderNames(-1), std::nullopt);
}

TEST(FlushTree, GoesThroughFilesAndFoldersAndTellsWhatItCouldNotOpen) {
    const TempTree tree;
    tree.write("a/b/file", "text");
    std::filesystem::create_symlink("nowhere", tree.root() + "/a/link");
    ASSERT_EQ(::mkfifo((tree.root() + "/a/pipe").c_str(), S_IRUSR), 0);
    EXPECT_TRUE(flushTree(tree.root()));
    EXPECT_EQ(flushTree(tree.root() + "/missing"),
              (Error{std::errc::no_such_file_or_directory, tree.root() + "/missing"}));
}

} // namespace
} // namespace korvel::platform
