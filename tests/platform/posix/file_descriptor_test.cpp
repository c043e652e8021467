#include "platform/posix/file_descriptor.h"

#include <utility>

#include <fcntl.h>
#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

FileDescriptor opened() {
    return FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
}

bool isOpen(int fd) {
    return ::fcntl(fd, F_GETFD) != -1;
}

TEST(FileDescriptor, IsClosedWithItsOwner) {
    int fd = -1;
    {
        const FileDescriptor owner = opened();
        fd = owner.get();
        EXPECT_TRUE(owner);
        EXPECT_TRUE(isOpen(fd));
    }
    EXPECT_FALSE(isOpen(fd));
}

TEST(FileDescriptor, NoneIsFalse) {
    const FileDescriptor none;
    EXPECT_FALSE(none);
    EXPECT_FALSE(FileDescriptor(-1));
}

TEST(FileDescriptor, MoveHandsItOver) {
    FileDescriptor first = opened();
    const int fd = first.get();
    FileDescriptor second = std::move(first);
    EXPECT_EQ(second.get(), fd);
    FileDescriptor third;
    third = std::move(second);
    EXPECT_EQ(third.get(), fd);
    EXPECT_TRUE(isOpen(fd));
    third.reset();
    EXPECT_FALSE(isOpen(fd));
    EXPECT_FALSE(third);
}

} // namespace
} // namespace korvel::platform
