#include "platform/simulated/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

using testing::ElementsAre;

TEST(SimulatedFiles, AMissingFileCannotBeRead) {
    SimulatedFiles files;
    EXPECT_EQ(files.read(files.inHome("none")), std::nullopt);
}

TEST(SimulatedFiles, WhatIsWrittenIsReadBackAndReplacesWhatWasThere) {
    SimulatedFiles files;
    EXPECT_TRUE(files.write("/a", "a long first content"));
    EXPECT_TRUE(files.write("/a", "short"));
    EXPECT_EQ(files.read("/a"), "short");
    EXPECT_THAT(files.writes,
                ElementsAre(SimulatedFiles::Write{"/a", 20}, SimulatedFiles::Write{"/a", 5}));
}

TEST(SimulatedFiles, AnUnreadableFileIsThereButCannotBeRead) {
    SimulatedFiles files;
    files.contents["/a"] = "text";
    files.unreadable.insert("/a");
    EXPECT_EQ(files.read("/a"), std::nullopt);
}

TEST(SimulatedFiles, AnUnwritableFileKeepsItsContentAndNothingIsReported) {
    SimulatedFiles files;
    files.contents["/a"] = "old";
    files.unwritable.insert("/a");
    bool reported = false;
    files.onWrite = [&](const std::string&, std::string_view) { reported = true; };
    EXPECT_FALSE(files.write("/a", "new"));
    EXPECT_EQ(files.read("/a"), "old");
    EXPECT_TRUE(files.writes.empty());
    EXPECT_FALSE(reported);
}

} // namespace
} // namespace korvel::platform
