#include "base/whole_number.h"

#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace korvel {
namespace {

TEST(WholeNumber, IsAllOfTheText) {
    using namespace std::string_view_literals;
    EXPECT_EQ(wholeNumber<int>("0"), 0);
    EXPECT_EQ(wholeNumber<int>("007"), 7);
    EXPECT_EQ(wholeNumber<int>("-12"), -12);
    EXPECT_EQ(wholeNumber<int>("-0"), 0);
    for (const std::string_view text :
         {""sv, " "sv, " 1"sv, "1 "sv, "+1"sv, "--1"sv, "-"sv, "- 1"sv, "1.0"sv, "1e3"sv, "0x10"sv,
          "1_000"sv, "1,000"sv, "a"sv, "1\n"sv, "1\0"sv, "\0"sv, "\xff"sv, "١"sv}) {
        EXPECT_EQ(wholeNumber<int>(text), std::nullopt) << text;
    }
}

TEST(WholeNumber, WhatTheTypeDoesNotHoldIsNone) {
    EXPECT_EQ(wholeNumber<std::int64_t>("9223372036854775807"),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(wholeNumber<std::int64_t>("9223372036854775808"), std::nullopt);
    EXPECT_EQ(wholeNumber<std::int64_t>("-9223372036854775808"),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(wholeNumber<std::int64_t>("-9223372036854775809"), std::nullopt);
    EXPECT_EQ(wholeNumber<std::uint32_t>("4294967295"), 4294967295U);
    EXPECT_EQ(wholeNumber<std::uint32_t>("4294967296"), std::nullopt);
    EXPECT_EQ(wholeNumber<std::uint32_t>("-1"), std::nullopt);
    EXPECT_EQ(wholeNumber<std::uint8_t>(std::string(1000, '9')), std::nullopt);
    EXPECT_EQ(wholeNumber<std::uint8_t>(std::string(1000, '0') + "255"), 255);
}

TEST(WholeNumber, IsReadInItsBase) {
    EXPECT_EQ(wholeNumber<std::uint32_t>("755", 8), 0755U);
    EXPECT_EQ(wholeNumber<std::uint32_t>("758", 8), std::nullopt);
    EXPECT_EQ(wholeNumber<std::uint32_t>("fF", 16), 255U);
    EXPECT_EQ(wholeNumber<std::uint32_t>("0xff", 16), std::nullopt);
    EXPECT_EQ(wholeNumber<std::uint32_t>("fg", 16), std::nullopt);
}

} // namespace
} // namespace korvel
