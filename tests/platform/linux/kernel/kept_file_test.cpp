#include "platform/linux/kernel/kept_file.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>

#include <fcntl.h>
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

/// A file that is handed over a few bytes at a time, as the kernel does with a list of entries.
class InPieces final : public FileCalls {
  public:
    int openAt(int, const char*, int flags) override {
        return FileCalls::openAt(AT_FDCWD, "/dev/null", flags);
    }
    ssize_t readAt(int, char* buffer, std::size_t size, off_t offset) override {
        ++reads;
        const std::string_view piece =
            text.substr(static_cast<std::size_t>(offset), std::min(size, longest));
        std::copy(piece.begin(), piece.end(), buffer);
        return static_cast<ssize_t>(piece.size());
    }

    std::string_view text = "one\ntwo\nthree\nfour\n";
    std::size_t longest = 4;
    int reads = 0;
};

TEST(HandedOver, AListIsReadToItsEndHoweverItComes) {
    InPieces calls;
    std::string buffer;
    KeptFile file(calls, "list", HandedOver::inPieces);
    EXPECT_EQ(file.read(buffer), calls.text);
    EXPECT_EQ(calls.reads, 5 + 1);
}

TEST(HandedOver, OfAListNoMoreIsReadThanIsEnough) {
    InPieces calls;
    std::string buffer;
    KeptFile file(calls, "list", HandedOver::inPieces);
    EXPECT_EQ(file.read(buffer, [](std::string_view text) { return text.ends_with("two\n"); }),
              "one\ntwo\n");
    EXPECT_EQ(calls.reads, 2);
    EXPECT_EQ(file.read(buffer, [](std::string_view) { return false; }), calls.text);
}

TEST(HandedOver, AFileThatComesAtOnceIsReadAgainOnlyWhereItFillsTheBuffer) {
    InPieces calls;
    calls.longest = std::string_view::npos;
    std::string buffer;
    KeptFile file(calls, "figure");
    EXPECT_EQ(file.read(buffer), calls.text);
    EXPECT_EQ(calls.reads, 1);
    const std::string large(3 * buffer.size(), 'x');
    calls.text = large;
    EXPECT_EQ(file.read(buffer), large);
    const std::string full(buffer.size(), 'y');
    calls.text = full;
    calls.reads = 0;
    EXPECT_EQ(file.read(buffer), full);
    EXPECT_EQ(calls.reads, 2) << "there might be more";
}

} // namespace
} // namespace korvel::platform
