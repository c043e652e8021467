#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "platform/linux/update/update_root.h"

namespace korvel {
namespace {

TEST(UpdateRoot, IsTheTextOfTheFileThatWasBuiltIn) {
    std::ifstream file(KORVEL_TEST_ROOT);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    ASSERT_EQ(text.rfind("-----BEGIN CERTIFICATE-----\n", 0), 0U);
    EXPECT_EQ(platform::builtInUpdateRoot(), text);
}

} // namespace
} // namespace korvel
