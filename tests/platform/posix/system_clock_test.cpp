#include "platform/posix/system_clock.h"

#include <ctime>

#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

TEST(SystemClock, IsSecondsSince1970) {
    SystemClock clock;
    const std::time_t before = std::time(nullptr);
    const Date now = clock.now();
    const std::time_t after = std::time(nullptr);
    // time() may be a tick of the kernel behind.
    EXPECT_GE(now, static_cast<double>(before));
    EXPECT_LE(now, static_cast<double>(after) + 1.1);
}

TEST(SystemClock, HasFractions) {
    SystemClock clock;
    bool hasFraction = false;
    for (int i = 0; i < 10 && !hasFraction; ++i) {
        const Date now = clock.now();
        hasFraction = now != static_cast<double>(static_cast<std::time_t>(now));
    }
    EXPECT_TRUE(hasFraction);
}

} // namespace
} // namespace korvel::platform
