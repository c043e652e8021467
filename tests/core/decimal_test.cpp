#include "core/decimal.h"

#include <string>

#include <gtest/gtest.h>

namespace korvel {
namespace {

TEST(Decimal, ReadsDigitsWithAtMostOneDot) {
    const struct {
        const char* text;
        double value;
    } cases[] = {
        {"0", 0},
        {"5", 5},
        {"2.5", 2.5},
        {"5.", 5},
        {".5", 0.5},
        {"007", 7},
        {"00.50", 0.5},
        {"0.1", 0.1},
        {"123456789.125", 123456789.125},
        {"18446744073709551616", 0x1p64},
        {"0.30000000000000004", 0.1 + 0.2},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(parseDecimal(row.text), row.value) << row.text;
    }
}

TEST(Decimal, ReadsNothingElse) {
    for (const char* text :
         {"",     ".",   "..",       "1..5", "1.2.3", "-1",    "+1",    " 1", "1 ", "1e5",  "1E5",
          "0x10", "inf", "infinity", "nan",  "1,5",   "1_000", "1'000", "5G", "K",  "1.5M", "١"}) {
        EXPECT_EQ(parseDecimal(text), std::nullopt) << '"' << text << '"';
    }
    EXPECT_EQ(parseDecimal(std::string_view("1\0", 2)), std::nullopt);
    EXPECT_EQ(parseDecimal(std::string_view("\0", 1)), std::nullopt);
}

TEST(Decimal, NumberTooLargeForADoubleIsUnreadableAndOneTooSmallIsZero) {
    EXPECT_EQ(parseDecimal(std::string(400, '9')), std::nullopt);
    EXPECT_EQ(parseDecimal("0." + std::string(400, '0') + "1"), 0) << "rounded";
    EXPECT_EQ(parseDecimal("0." + std::string(400, '0')), 0);
    EXPECT_EQ(parseDecimal("0." + std::string(310, '0') + "1"), 1e-311) << "denormal";
}

TEST(Decimal, StopsAtTheEndOfTheView) {
    EXPECT_EQ(parseDecimal(std::string_view("12345", 2)), 12);
}

} // namespace
} // namespace korvel
