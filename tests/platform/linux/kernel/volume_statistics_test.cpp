#include "platform/linux/kernel/volume_statistics.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

/// What statvfs(2) says.
struct SaidOfVolume {
    std::uint64_t bsize = 0;
    std::uint64_t frsize = 0;
    std::uint64_t blocks = 0;
    std::uint64_t bfree = 0;
    std::uint64_t bavail = 0;
    bool readOnly = false;
};

/// Bytes that the record comes to, as the sampler reckons them.
struct VolumeRoom {
    std::uint64_t total = 0;
    std::uint64_t free = 0;
    std::uint64_t available = 0;

    bool operator==(const VolumeRoom&) const = default;
};

struct VolumeCase {
    const char* name;
    SaidOfVolume said;
    std::optional<VolumeRoom> room;
};

std::optional<VolumeRoom> roomOf(const SaidOfVolume& said) {
    struct statvfs volume {};
    volume.f_bsize = said.bsize;
    volume.f_frsize = said.frsize;
    volume.f_blocks = said.blocks;
    volume.f_bfree = said.bfree;
    volume.f_bavail = said.bavail;
    volume.f_flag = said.readOnly ? ST_RDONLY : 0;
    const auto statistics = volumeStatistics(volume);
    if (!statistics) {
        return std::nullopt;
    }
    const std::uint64_t size = statistics->f_bsize;
    return VolumeRoom{statistics->f_blocks * size, statistics->f_bfree * size,
                      statistics->f_bavail * size};
}

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;
constexpr std::uint64_t kVolumeBlock = 4096;
constexpr std::uint64_t kBlocksOfGiB = kGiB / kVolumeBlock; // in a gibibyte
constexpr std::uint64_t kSectors = kGiB / 512;
constexpr std::uint64_t kMebibytes = 1024;
constexpr std::uint64_t kBelowZero = std::numeric_limits<std::uint64_t>::max() - 99;

TEST(DataVolume, SaysOfRealFileSystemsWhatTheySay) {
    const std::vector<VolumeCase> cases = {
        {"ext4, with what is kept for the system",
         {kVolumeBlock, kVolumeBlock, 250 * kBlocksOfGiB, 100 * kBlocksOfGiB, 87 * kBlocksOfGiB},
         VolumeRoom{250 * kGiB, 100 * kGiB, 87 * kGiB}},
        {"btrfs, RAID 1: what is free counts twice, what is available once",
         {kVolumeBlock, kVolumeBlock, 500 * kBlocksOfGiB, 300 * kBlocksOfGiB, 149 * kBlocksOfGiB},
         VolumeRoom{500 * kGiB, 300 * kGiB, 149 * kGiB}},
        {"btrfs without room for metadata",
         {kVolumeBlock, kVolumeBlock, 500 * kBlocksOfGiB, 20 * kBlocksOfGiB, 0},
         VolumeRoom{500 * kGiB, 20 * kGiB, 0}},
        {"bcachefs, in sectors of 512 bytes",
         {512, 512, 100 * kSectors, 40 * kSectors, 39 * kSectors},
         VolumeRoom{100 * kGiB, 40 * kGiB, 39 * kGiB}},
        {"ZFS: reads by 128 KiB, counts by as much",
         {131072, 131072, 819200, 409600, 409600},
         VolumeRoom{100 * kGiB, 50 * kGiB, 50 * kGiB}},
        {"overlay on ext4: the figures of the upper one",
         {kVolumeBlock, kVolumeBlock, 50 * kBlocksOfGiB, 30 * kBlocksOfGiB, 27 * kBlocksOfGiB},
         VolumeRoom{50 * kGiB, 30 * kGiB, 27 * kGiB}},
        {"overlay of a sandbox: all free, none available",
         {kVolumeBlock, kVolumeBlock, 50 * kBlocksOfGiB, 50 * kBlocksOfGiB, 0},
         std::nullopt},
        {"squashfs: an image, full", {131072, 131072, 15000, 0, 0, true}, std::nullopt},
        {"ext4 remounted read-only",
         {kVolumeBlock, kVolumeBlock, 50 * kBlocksOfGiB, 7 * kBlocksOfGiB, 5 * kBlocksOfGiB, true},
         VolumeRoom{50 * kGiB, 7 * kGiB, 5 * kGiB}},
        {"ext4 that is full for users",
         {kVolumeBlock, kVolumeBlock, 50 * kBlocksOfGiB, 2 * kBlocksOfGiB, 0},
         VolumeRoom{50 * kGiB, 2 * kGiB, 0}},
        {"a full disk that can be written",
         {kVolumeBlock, kVolumeBlock, 50 * kBlocksOfGiB, 0, 0},
         VolumeRoom{50 * kGiB, 0, 0}},
        {"FUSE without figures", {512, 512, 0, 0, 0}, std::nullopt},
        {"FUSE, nothing filled in", {}, std::nullopt},
        {"FUSE that counts by the size for reading",
         {kVolumeBlock, 0, 10 * kBlocksOfGiB, 4 * kBlocksOfGiB, 4 * kBlocksOfGiB},
         VolumeRoom{10 * kGiB, 4 * kGiB, 4 * kGiB}},
        {"FUSE with blocks and no size of one", {0, 0, 1000, 500, 500}, std::nullopt},
        {"a cloud's drive in FUSE: a petabyte, all of it free",
         {kVolumeBlock, kVolumeBlock, kBlocksOfGiB << 20, kBlocksOfGiB << 20, kBlocksOfGiB << 20},
         VolumeRoom{kGiB << 20, kGiB << 20, kGiB << 20}},
        {"tmpfs without a size", {kVolumeBlock, kVolumeBlock, 0, 0, 0}, std::nullopt},
        {"tmpfs",
         {kVolumeBlock, kVolumeBlock, 8 * kBlocksOfGiB, 3 * kBlocksOfGiB, 3 * kBlocksOfGiB},
         VolumeRoom{8 * kGiB, 3 * kGiB, 3 * kGiB}},
        {"NFS: reads by 1 MiB, and root is nobody there, for whom less is available",
         {1 << 20, 1 << 20, 900 * kMebibytes, 500 * kMebibytes, 454 * kMebibytes},
         VolumeRoom{900 * kGiB, 500 * kGiB, 454 * kGiB}},
        {"NFS: root has filled what is kept for it",
         {kVolumeBlock, kVolumeBlock, 900 * kBlocksOfGiB, 10 * kBlocksOfGiB, kBelowZero},
         VolumeRoom{900 * kGiB, 10 * kGiB, 0}},
        {"more free than there is",
         {kVolumeBlock, kVolumeBlock, 10 * kBlocksOfGiB, 11 * kBlocksOfGiB, kBlocksOfGiB},
         VolumeRoom{10 * kGiB, 10 * kGiB, kGiB}},
    };
    for (const VolumeCase& given : cases) {
        EXPECT_EQ(roomOf(given.said), given.room) << given.name;
    }
}

TEST(DataVolume, CountsAreInFragments) {
    EXPECT_EQ(roomOf({1 << 20, kVolumeBlock, 1000, 600, 500}),
              (VolumeRoom{1000 * kVolumeBlock, 600 * kVolumeBlock, 500 * kVolumeBlock}));
}

TEST(DataVolume, IsNotReportedOnlyWhereItsShareInUseWouldBeNothingOfNothing) {
    EXPECT_FALSE(roomOf({kVolumeBlock, kVolumeBlock, 1000, 1000, 0}));
    EXPECT_TRUE(roomOf({kVolumeBlock, kVolumeBlock, 1000, 999, 0}));
    EXPECT_TRUE(roomOf({kVolumeBlock, kVolumeBlock, 1000, 1000, 1}));
}

} // namespace
} // namespace korvel::platform
