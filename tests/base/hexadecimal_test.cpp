#include "base/hexadecimal.h"

#include <array>
#include <vector>

#include <gtest/gtest.h>

namespace korvel {
namespace {

TEST(Hexadecimal, EachByteIsTwoLowerCaseDigits) {
    EXPECT_EQ(hexadecimal({}), "");
    EXPECT_EQ(hexadecimal(std::array<std::uint8_t, 6>{0x00, 0x07, 0x10, 0x9a, 0xef, 0xff}),
              "0007109aefff");
    EXPECT_EQ(hexadecimal(std::vector<std::uint8_t>(32, 0xa0)).size(), 64U);
}

} // namespace
} // namespace korvel
