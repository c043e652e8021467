#include "platform/linux/kernel/spare_threads.h"

#include <filesystem>
#include <iterator>

#include <gtest/gtest.h>

#include "support/no_threads.h"

namespace korvel::platform {
namespace {

auto threads() {
    namespace fs = std::filesystem;
    return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
}

TEST(SpareThreads, AreToBeHadWhereTheyCanBeStarted) {
    EXPECT_TRUE(threadsAreToBeHad(0));
    EXPECT_TRUE(threadsAreToBeHad(3));
}

TEST(SpareThreads, AreNotToBeHadWhereTheyCannot) {
    {
        const NoThreads refused;
        EXPECT_FALSE(threadsAreToBeHad(1));
        EXPECT_TRUE(threadsAreToBeHad(0));
    }
    EXPECT_TRUE(threadsAreToBeHad(1));
}

TEST(SpareThreads, AreGoneFromTheKernelWhenTheAnswerIsThere) {
    const auto before = threads();
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(threadsAreToBeHad(4));
        ASSERT_EQ(threads(), before);
    }
}

} // namespace
} // namespace korvel::platform
