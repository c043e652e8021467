#include "base/decimal.h"

#include <cmath>
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

TEST(Decimal, NumberThatADoubleCannotHoldIsUnreadable) {
    EXPECT_EQ(parseDecimal(std::string(400, '9')), std::nullopt);
    EXPECT_EQ(parseDecimal("0." + std::string(400, '0') + "1"), std::nullopt);
    EXPECT_EQ(parseDecimal("0." + std::string(400, '0')), 0);
    EXPECT_EQ(parseDecimal("0." + std::string(310, '0') + "1"), 1e-311) << "denormal";
}

TEST(JsonNumber, ReadsWhatJsonCallsANumber) {
    const struct {
        const char* text;
        double value;
    } cases[] = {{"0", 0},
                 {"-0", -0.0},
                 {"10", 10},
                 {"-2.5", -2.5},
                 {"1e3", 1000},
                 {"1E+3", 1000},
                 {"25e-1", 2.5},
                 {"0.0e-9", 0},
                 {"-0e99999999999999999999", -0.0},
                 {"0.1000000000000000055511151231257827021181583404541015625", 0.1},
                 {"123456789012345678901234567890", 1.2345678901234568e29}};
    for (const auto& row : cases) {
        EXPECT_EQ(parseJsonNumber(row.text), row.value) << row.text;
        EXPECT_EQ(std::signbit(*parseJsonNumber(row.text)), std::signbit(row.value)) << row.text;
    }
}

TEST(JsonNumber, ReadsNothingElse) {
    for (const char* text :
         {"",   "-",    "+1", "01", "-01", "1.",  ".5",       "-.5", "1e",  "1e+",
          "e5", "1.e5", "1 ", " 1", "0x1", "NaN", "Infinity", "1,5", "--1", "1e5.5"}) {
        EXPECT_EQ(parseJsonNumber(text), std::nullopt) << '"' << text << '"';
    }
}

TEST(JsonNumber, TooLargeIsUnreadableAndTooSmallIsZero) {
    const std::string zeros(400, '0');
    for (const std::string& large :
         {std::string("1e309"), std::string("1e99999999999999999999"),
          std::string("4e9223372036854775807"), std::string("4e2147483648"), "1" + zeros,
          "-1" + zeros, "1" + zeros + "e-5", "0." + zeros + "1e+800", std::string("0.001e999")}) {
        EXPECT_EQ(parseJsonNumber(large), std::nullopt) << large;
    }
    for (const std::string& small :
         {std::string("1e-400"), std::string("1e-99999999999999999999"),
          std::string("0.04e-9223372036854775807"), std::string("4e-2147483648"),
          "0." + zeros + "1", "0." + zeros + "1e+5", "1" + zeros + "e-900",
          std::string("1000e-999")}) {
        EXPECT_EQ(parseJsonNumber(small), 0) << small;
        EXPECT_TRUE(std::signbit(*parseJsonNumber("-" + small))) << small;
    }
    EXPECT_EQ(parseJsonNumber("1" + zeros + "e-400"), 1);
    EXPECT_EQ(parseJsonNumber("0." + zeros + "1e+401"), 1);
}

TEST(Decimal, StopsAtTheEndOfTheView) {
    EXPECT_EQ(parseDecimal(std::string_view("12345", 2)), 12);
}

} // namespace
} // namespace korvel
