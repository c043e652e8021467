#include "base/shortest_number.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "support/generator.h"

namespace korvel {
namespace {

/// What is written, and nothing beyond the room.
std::string written(double number) {
    constexpr char kUntouched = '#';
    std::array<char, kShortestRoom + 8> room;
    room.fill(kUntouched);
    const std::string text(room.data(), writeShortest(room.data(), number));
    for (std::size_t i = kShortestRoom; i < room.size(); ++i) {
        EXPECT_EQ(room[i], kUntouched) << text;
    }
    return text;
}

void expectAsFmt(double number) {
    for (const double each : {number, -number}) {
        ASSERT_EQ(written(each), fmt::format("{}", each));
    }
}

TEST(WriteShortest, WritesWhatStandsInTheTable) {
    const struct {
        double number;
        const char* text;
    } cases[] = {{0, "0"},
                 {-0.0, "-0"},
                 {5, "5"},
                 {100, "100"},
                 {-12.5, "-12.5"},
                 {0.1 + 0.2, "0.30000000000000004"},
                 {1700000000.123456, "1700000000.123456"},
                 {0.0001, "0.0001"},
                 {0.00012345678901234567, "0.00012345678901234567"},
                 {0.00001, "1e-05"},
                 {1e15, "1000000000000000"},
                 {0x1p53 - 1, "9007199254740991"},
                 {1e16, "1e+16"},
                 {1.7976931348623157e308, "1.7976931348623157e+308"},
                 {5e-324, "5e-324"}};
    for (const auto& row : cases) {
        EXPECT_EQ(written(row.number), row.text);
    }
}

TEST(WriteShortest, AgreesWithFmtOnAnyNumber) {
    test::Generator random(51);
    for (int i = 0; i < 200000; ++i) {
        expectAsFmt(random.anyFinite());
    }
}

TEST(WriteShortest, AgreesWithFmtOnNumbersOfEveryLength) {
    test::Generator random(52);
    for (int digits = 1; digits <= 17; ++digits) {
        for (int power = -25; power <= 25; ++power) {
            for (int i = 0; i < 100; ++i) {
                const double whole = std::floor(random.between(0, std::pow(10.0, digits)));
                expectAsFmt(whole * std::pow(10.0, power));
                expectAsFmt(std::nextafter(std::pow(10.0, power), random.between(-1, 1)));
            }
        }
    }
}

TEST(WriteShortest, AgreesWithFmtAtTheEdges) {
    using Limits = std::numeric_limits<double>;
    for (int power = -324; power <= 308; ++power) {
        const double number = std::strtod(("1e" + std::to_string(power)).c_str(), nullptr);
        expectAsFmt(number);
        expectAsFmt(std::nextafter(number, 0.0));
        expectAsFmt(std::nextafter(number, Limits::max()));
    }
    for (int power = -1074; power <= 1023; ++power) {
        expectAsFmt(std::ldexp(1.0, power));
        expectAsFmt(std::nextafter(std::ldexp(1.0, power), 0.0));
    }
    expectAsFmt(Limits::max());
}

} // namespace
} // namespace korvel
