#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/posix/described_tree.h"
#include "platform/posix/file_manager.h"
#include "platform/posix/file_manager_fixture.h"
#include "platform/posix/private_mounts.h"

namespace korvel::platform {
namespace {

class OtherVolume : public test::FileManagerTest {};

TEST_F(OtherVolume, IsOneThatNothingIsMovedToOrExchangedWith) {
    const test::SmallVolume volume(folder_ / "volume", "4m");
    if (!volume.failure().empty()) {
        GTEST_SKIP() << volume.failure();
    }
    makeBundle(path("Korvel.app"));
    makeBundle(volume.folder() / "New.app");
    const auto before = test::describedTree(folder_);
    EXPECT_EQ(manager_.move(path("Korvel.app"), volume.folder() / "old.app"),
              (Error{std::errc::cross_device_link, path("Korvel.app")}));
    EXPECT_EQ(manager_.move(volume.folder() / "New.app", path("New.app")),
              (Error{std::errc::cross_device_link, std::string(volume.folder() / "New.app")}));
    EXPECT_FALSE(manager_.exchange(path("Korvel.app"), volume.folder() / "New.app"));
    EXPECT_EQ(test::describedTree(folder_), before);
}

} // namespace
} // namespace korvel::platform
