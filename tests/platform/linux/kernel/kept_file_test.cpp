#include "platform/linux/kernel/kept_file.h"

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include "platform/linux/kernel/counting_calls.h"
#include "platform/linux/kernel/every_minute.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

TEST(EveryMinute, IsDueAtOnceAndAtEveryTwelfthQuestionUnlessHastened) {
    EveryMinute minute;
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(minute.isDue());
        for (int question = 1; question < kReadingsAMinute; ++question) {
            EXPECT_FALSE(minute.isDue()) << question;
        }
    }
    EXPECT_TRUE(minute.isDue());
    minute.hasten();
    EXPECT_TRUE(minute.isDue());
    EXPECT_FALSE(minute.isDue());
}

class KeptFileTest : public testing::Test {
  protected:
    /// How many readings it takes until the file is read.
    int readingsUntilRead() {
        for (int readings = 1; readings <= 2 * kReadingsAMinute; ++readings) {
            if (file_.read(buffer_) == "told\n") {
                return readings;
            }
        }
        return 0;
    }

    TempTree tree_;
    CountingCalls calls_;
    std::string buffer_;
    KeptFile file_{calls_, tree_.root() + "/figure"};
};

TEST_F(KeptFileTest, IsOpenedOnce) {
    tree_.write("figure", "told\n");
    EXPECT_EQ(readingsUntilRead(), 1);
    EXPECT_EQ(readingsUntilRead(), 1);
    EXPECT_EQ(calls_.opens, 1);
}

TEST_F(KeptFileTest, OneThatIsNotThereIsLookedForOnceAMinute) {
    EXPECT_FALSE(file_.read(buffer_));
    tree_.write("figure", "told\n");
    EXPECT_EQ(readingsUntilRead(), kReadingsAMinute);
    EXPECT_EQ(calls_.opens, 2);
}

TEST_F(KeptFileTest, WhatFailedForAMomentIsOpenedAtTheNextReading) {
    tree_.write("figure", "told\n");
    for (const int error : {EMFILE, ENFILE, EINTR}) {
        KeptFile file(calls_, tree_.root() + "/figure");
        calls_.failOpen = [error](const std::string&) { return error; };
        EXPECT_FALSE(file.read(buffer_)) << error;
        calls_.failOpen = nullptr;
        EXPECT_EQ(file.read(buffer_), "told\n") << error;
    }
}

TEST_F(KeptFileTest, OneWhoseDeviceIsGoneIsOpenedAnewAtTheNextReading) {
    tree_.write("figure", "told\n");
    EXPECT_EQ(readingsUntilRead(), 1);
    calls_.failRead = [](int) { return ENODEV; };
    EXPECT_FALSE(file_.read(buffer_));
    EXPECT_FALSE(file_.isOpen());
    calls_.failRead = nullptr;
    EXPECT_EQ(readingsUntilRead(), 1);
    EXPECT_EQ(calls_.opens, 2);
}

} // namespace
} // namespace korvel::platform
