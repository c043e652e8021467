#include "platform/linux/kernel/volume_statistics.h"

#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

TEST(DataVolume, CountsAreInFragments) {
    struct statvfs volume {};
    volume.f_bsize = 1048576;
    volume.f_frsize = 4096;
    volume.f_blocks = 1000;
    volume.f_bfree = 600;
    volume.f_bavail = 500;
    const auto statistics = volumeStatistics(volume);
    ASSERT_TRUE(statistics);
    EXPECT_EQ(statistics->f_bsize, 4096U);
    EXPECT_EQ(statistics->f_blocks, 1000U);
    EXPECT_EQ(statistics->f_bfree, 600U);
    EXPECT_EQ(statistics->f_bavail, 500U);
}

TEST(DataVolume, OneWhoseShareInUseWouldBeNothingOfNothingIsNotReported) {
    struct statvfs volume {};
    volume.f_frsize = 4096;
    EXPECT_FALSE(volumeStatistics(volume)) << "no blocks";
    volume.f_blocks = 1000;
    volume.f_bfree = 1000;
    EXPECT_FALSE(volumeStatistics(volume)) << "all free, none available";
    volume.f_bfree = 999;
    EXPECT_TRUE(volumeStatistics(volume)) << "full for users";
    volume.f_bfree = 1000;
    volume.f_bavail = 1;
    EXPECT_TRUE(volumeStatistics(volume));
}

} // namespace
} // namespace korvel::platform
