#include "platform/linux/kernel/mount_table.h"

#include <filesystem>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

/// A line of the list.
std::string mountLine(int id, int parent, const std::string& device, const std::string& point,
                      const std::string& type) {
    return fmt::format("{} {} {} / {} rw,relatime shared:{} - {} source rw\n", id, parent, device,
                       point, id, type);
}

TEST(MountTable, TellsEachMountsPlaceInTheTree) {
    const MountTable table(
        "27 1 254:0 / / rw,relatime - ext4 /dev/vda rw,discard\n"
        "36 27 0:41 /home /net/home rw,nosuid shared:7 master:1 propagate_from:2 - nfs4 "
        "server:/export rw,vers=4.2,hard - odd\n");
    EXPECT_EQ(table.mounts(), (std::vector<Mount>{{27, 1, "254:0", "/", true},
                                                  {36, 27, "0:41", "/net/home", false}}));
}

TEST(MountTable, ReadsPathsAsTheKernelEscapesThem) {
    struct Case {
        const char* written;
        const char* path;
    };
    for (const Case& given : std::vector<Case>{{R"(/my\040disk)", "/my disk"},
                                               {R"(/\011\012\134x)", "/\t\n\\x"},
                                               {R"(/number\043)", "/number#"},
                                               {R"(/\999)", R"(/\999)"},
                                               {R"(/end\)", R"(/end\)"},
                                               {"/\xff\xfe", "/\xff\xfe"}}) {
        const MountTable table(mountLine(1, 0, "8:1", given.written, "ext4"));
        ASSERT_EQ(table.mounts().size(), 1U) << given.written;
        EXPECT_EQ(table.mounts()[0].point, given.path);
    }
}

TEST(MountTable, LeavesOutWhatIsNoLineOfTheList) {
    for (const char* text :
         {"", "\n\n", "nothing of the kind\n", "1 0 8:1 / / rw ext4 /dev/sda1 rw\n",
          "x 0 8:1 / / rw - ext4 /dev/sda1 rw\n", "1 y 8:1 / / rw - ext4 /dev/sda1 rw\n",
          "1 0 8:1 / relative rw - ext4 /dev/sda1 rw\n", "1 0 8:1 / / rw - ext4 cut short"}) {
        EXPECT_TRUE(MountTable(text).mounts().empty()) << text;
        EXPECT_EQ(MountTable(text).holding("/home"), nullptr) << text;
    }
}

TEST(MountTable, KnowsWhichFileSystemsAnswerAlone) {
    struct Case {
        const char* device;
        const char* type;
        bool alone;
    };
    for (const Case& given : std::vector<Case>{
             {"8:1", "ext4", true},         {"259:2", "xfs", true},
             {"254:0", "f2fs", true},       {"7:0", "squashfs", true},
             {"8:2", "ntfs3", true},        {"0:30", "btrfs", true},
             {"0:31", "zfs", true},         {"0:32", "bcachefs", true},
             {"0:33", "tmpfs", true},       {"0:34", "overlay", true},
             {"0:35", "ecryptfs", true},    {"0:36", "ubifs", true},
             {"0:2", "rootfs", true},       {"0:40", "nfs", false},
             {"0:41", "nfs4", false},       {"0:42", "cifs", false},
             {"0:43", "smb3", false},       {"0:44", "9p", false},
             {"0:45", "ceph", false},       {"0:46", "afs", false},
             {"0:47", "fuse.sshfs", false}, {"0:48", "fuse.rclone", false},
             {"8:3", "fuseblk", false},     {"0:49", "fuse", false},
             {"0:50", "virtiofs", false},   {"0:51", "vboxsf", false},
             {"0:52", "autofs", false},     {"8:4", "gfs2", false},
             {"8:5", "ocfs2", false},       {"0:53", "not_known_yet", false},
         }) {
        const MountTable table(mountLine(1, 0, given.device, "/", given.type));
        ASSERT_EQ(table.mounts().size(), 1U);
        EXPECT_EQ(table.mounts()[0].answersAlone, given.alone) << given.type;
    }
}

/// The id of the mount where the way to a path ends; 0: the table does not say.
int wayEnd(const std::string& list, const std::string& path) {
    const MountTable table(list);
    const Mount* const mount = table.holding(path);
    return mount ? mount->id : 0;
}

TEST(MountTable, APathLiesOnTheLastMountOnItsWay) {
    const std::string root = mountLine(1, 0, "8:1", "/", "ext4");
    const std::string home = mountLine(2, 1, "8:2", "/home", "xfs");
    const std::string mine = mountLine(3, 2, "0:9", "/home/me", "nfs");
    struct Case {
        const char* name;
        std::string list;
        const char* path;
        int mount;
    };
    const std::vector<Case> cases = {
        {"the root", root, "/", 1},
        {"below the root", root + home, "/nowhere/me", 1},
        {"below a mount", root + home, "/home/me", 2},
        {"a mount on a mount", root + home + mine, "/home/me/documents", 3},
        {"a name that only begins alike", root + home + mine, "/home/me2", 2},
        {"in any order", mine + home + root, "/home/me", 3},
        {"doubled and trailing slashes", root + home, "//home///me//", 2},
        {"points", root + home, "/./home/./me", 2},
        {"back out of a mount", root + home, "/home/../nowhere", 1},
        {"above the root", root + home, "/../../home", 2},
        {"the way goes through the server's",
         root + mine + mountLine(4, 3, "8:3", "/home/me/x", "xfs") + home, "/home/me/x", 3},
        {"one covers another", root + home + mountLine(4, 2, "0:9", "/home", "nfs"), "/home/me", 4},
        {"a local one covers what mounts itself",
         root + mountLine(2, 1, "0:5", "/home", "autofs") + mountLine(3, 2, "8:2", "/home", "ext4"),
         "/home/me", 3},
        {"what mounts itself, before it did", root + mountLine(2, 1, "0:5", "/home", "autofs"),
         "/home/me", 2},
        {"below what was covered",
         root + mountLine(2, 1, "8:2", "/home/me", "xfs") + mountLine(3, 1, "0:9", "/home", "nfs"),
         "/home/me", 3},
        {"a covered root", root + mountLine(2, 1, "0:9", "/", "nfs"), "/home", 2},
        {"a root that is its own parent", mountLine(1, 1, "8:1", "/", "ext4") + home, "/home/me",
         2},
        {"mounts that cover each other",
         root + mountLine(2, 3, "8:2", "/home", "xfs") + mountLine(3, 2, "8:3", "/home", "xfs"),
         "/home", 1},
        {"no root", home, "/home", 0},
    };
    for (const Case& given : cases) {
        EXPECT_EQ(wayEnd(given.list, given.path), given.mount) << given.name;
    }
}

TEST(MountTable, LinksAreFollowedUpToAMountThatDoesNotAnswerAlone) {
    const TempTree tree;
    const std::string top = std::filesystem::canonical(tree.root()).string();
    namespace fs = std::filesystem;
    fs::create_directories(top + "/data/me");
    fs::create_directories(top + "/net/me");
    fs::create_symlink("me", top + "/data/again");
    fs::create_symlink(top + "/data", top + "/absolute");
    fs::create_symlink("net/me", top + "/away");
    fs::create_symlink("../data/me", top + "/net/back");
    fs::create_symlink("../data", top + "/data/up");
    fs::create_symlink("loop", top + "/loop");
    const std::string list = mountLine(1, 0, "8:1", "/", "ext4") +
                             mountLine(2, 1, "8:2", top + "/data", "xfs") +
                             mountLine(3, 1, "0:9", top + "/net", "nfs");
    struct Case {
        const char* path;
        int mount;
    };
    for (const Case& given : std::vector<Case>{{"/data/again", 2},
                                               {"/absolute", 2},
                                               {"/absolute/me", 2},
                                               {"/absolute/..", 1},
                                               {"/data/up/up/again", 2},
                                               {"/away", 3},
                                               {"/away/deeper", 3},
                                               {"/net/back", 3},
                                               {"/loop", 1},
                                               {"/nowhere/deeper", 1}}) {
        EXPECT_EQ(wayEnd(list, top + given.path), given.mount) << given.path;
    }
}

} // namespace
} // namespace korvel::platform
