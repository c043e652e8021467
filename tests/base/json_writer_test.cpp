#include "base/json_writer.h"

#include <cstdlib>
#include <limits>

#include <gtest/gtest.h>

#include "support/generator.h"

namespace korvel {
namespace {

template <typename Value>
std::string written(const Value& value) {
    JsonWriter json;
    json.value(value);
    return json.text();
}

TEST(JsonWriter, IsCompact) {
    JsonWriter json;
    json.beginObject()
        .member("a", 1)
        .key("b")
        .beginArray()
        .value(true)
        .value(nullptr)
        .beginArray()
        .endArray()
        .beginObject()
        .endObject()
        .endArray()
        .member("c", "text")
        .endObject();
    EXPECT_EQ(json.text(), R"({"a":1,"b":[true,null,[],{}],"c":"text"})");
}

TEST(JsonWriter, EscapesWhatJsonCannotCarry) {
    const struct {
        std::string_view text;
        const char* expected;
    } cases[] = {
        {"", R"("")"},
        {"a\"b", R"("a\"b")"},
        {"a\\b", R"("a\\b")"},
        {"a/b", R"("a/b")"},
        {"\n\r\t", R"("\n\r\t")"},
        {std::string_view("\0\x01\x1f", 3), R"("\u0000\u0001\u001f")"},
        {"\b\f", R"("\u0008\u000c")"},
        {"\x7f", "\"\x7f\""},
        {"5.2 GB · ☕ 😀", "\"5.2 GB · ☕ 😀\""},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(written(row.text), row.expected) << row.text;
    }
}

TEST(JsonWriter, EscapesKeysToo) {
    JsonWriter json;
    json.beginObject().member("a\"\n", 1).endObject();
    EXPECT_EQ(json.text(), R"({"a\"\n":1})");
}

TEST(JsonWriter, ReplacesIllFormedBytes) {
    EXPECT_EQ(written(std::string("a\xffz")), "\"a\xef\xbf\xbdz\"");
}

TEST(JsonWriter, NumbersStandInShortestForm) {
    const struct {
        double number;
        const char* expected;
    } cases[] = {
        {0, "0"},
        {-0.0, "-0"},
        {5, "5"},
        {0.1, "0.1"},
        {100, "100"},
        {-2.5, "-2.5"},
        {0.1 + 0.2, "0.30000000000000004"},
        {1e-7, "1e-07"},
        {1e300, "1e+300"},
        {5e-324, "5e-324"},
        {1700000000.123456, "1700000000.123456"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(written(row.number), row.expected);
    }
}

TEST(JsonWriter, NumbersComeBackBitForBit) {
    test::Generator random(1);
    for (int i = 0; i < 20000; ++i) {
        const double number = random.anyFinite();
        EXPECT_EQ(std::strtod(written(number).c_str(), nullptr), number);
    }
}

TEST(JsonWriter, NonFiniteNumberIsNull) {
    EXPECT_EQ(written(std::numeric_limits<double>::quiet_NaN()), "null");
    EXPECT_EQ(written(std::numeric_limits<double>::infinity()), "null");
    EXPECT_EQ(written(-std::numeric_limits<double>::infinity()), "null");
}

TEST(JsonWriter, IntegersAreWholeAndExact) {
    EXPECT_EQ(written(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(written(std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
    EXPECT_EQ(written(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
    EXPECT_EQ(written(std::numeric_limits<std::uint32_t>::max()), "4294967295");
    EXPECT_EQ(written(std::int32_t{-1}), "-1");
}

TEST(JsonWriter, BooleansAndTextsAreNotConfused) {
    EXPECT_EQ(written(true), "true");
    EXPECT_EQ(written(false), "false");
    EXPECT_EQ(written("true"), R"("true")");
    EXPECT_EQ(written(std::string("5")), R"("5")");
}

} // namespace
} // namespace korvel
