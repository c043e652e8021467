#include "base/uuid.h"

#include <set>
#include <thread>

#include <gtest/gtest.h>

namespace korvel {
namespace {

TEST(Uuid, RandomOnesDiffer) {
    std::set<Uuid> seen;
    for (int i = 0; i < 50000; ++i) {
        seen.insert(Uuid::random());
    }
    EXPECT_EQ(seen.size(), 50000U);
}

TEST(Uuid, IsOfVersionFourAndItsVariant) {
    for (int i = 0; i < 1000; ++i) {
        const Uuid id = Uuid::random();
        EXPECT_EQ(id.words[0] >> 12 & 0xf, 4U);
        EXPECT_EQ(id.words[1] >> 62, 2U);
    }
}

TEST(Uuid, ThreadsDrawDifferentOnes) {
    constexpr int kEach = 1000;
    std::vector<Uuid> here;
    std::vector<Uuid> there;
    std::thread other([&] {
        for (int i = 0; i < kEach; ++i) {
            there.push_back(Uuid::random());
        }
    });
    for (int i = 0; i < kEach; ++i) {
        here.push_back(Uuid::random());
    }
    other.join();
    std::set<Uuid> all(here.begin(), here.end());
    all.insert(there.begin(), there.end());
    EXPECT_EQ(all.size(), 2U * kEach);
}

} // namespace
} // namespace korvel
