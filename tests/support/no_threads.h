#pragma once

#include <cstddef>

#include <gtest/gtest.h>
#include <pthread.h>

namespace korvel {

/// As long as it lives no thread can be started: each would get a stack for which no process has
/// the addresses.
class NoThreads {
  public:
    NoThreads() {
        pthread_attr_t wish;
        EXPECT_EQ(::pthread_getattr_default_np(&wish), 0);
        EXPECT_EQ(::pthread_attr_getstacksize(&wish, &before_), 0);
        set(kTooLarge);
        ::pthread_attr_destroy(&wish);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;
    ~NoThreads() { set(before_); }

  private:
    static constexpr std::size_t kTooLarge = std::size_t{1} << 48; // bytes

    static void set(std::size_t stack) {
        pthread_attr_t wish;
        EXPECT_EQ(::pthread_attr_init(&wish), 0);
        EXPECT_EQ(::pthread_attr_setstacksize(&wish, stack), 0);
        EXPECT_EQ(::pthread_setattr_default_np(&wish), 0);
        ::pthread_attr_destroy(&wish);
    }

    std::size_t before_ = 0;
};

} // namespace korvel
