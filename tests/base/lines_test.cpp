#include "base/lines.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvel {
namespace {

using Lines = std::vector<std::string_view>;
using Take = std::optional<std::string_view> (*)(std::string_view& text);

/// All that is taken until there is nothing more, and in `rest` what is left then.
Lines taken(Take take, std::string_view& rest) {
    Lines lines;
    while (const auto line = take(rest)) {
        lines.push_back(*line);
    }
    return lines;
}

TEST(Lines, ALineIsWhatEndsWithANewline) {
    using namespace std::string_view_literals;
    const struct {
        const char* name;
        std::string_view text;
        Lines whole;           ///< those that end
        std::string_view rest; ///< what is behind them
    } cases[] = {
        {"nothing", "", {}, ""},
        {"no newline", "some 1", {}, "some 1"},
        {"one line", "some 1\n", {"some 1"}, ""},
        {"cut short", "some 1\nfull 2", {"some 1"}, "full 2"},
        {"empty lines", "\n\na\n\n", {"", "", "a", ""}, ""},
        {"a newline alone", "\n", {""}, ""},
        {"carriage returns", "a\r\n\rb\r", {"a\r"}, "\rb\r"},
        {"a null character", "a\0b\nc\0"sv, {"a\0b"sv}, "c\0"sv},
        {"ill-formed text", "\xff\n\xc3", {"\xff"}, "\xc3"},
    };
    for (const auto& row : cases) {
        std::string_view text = row.text;
        EXPECT_EQ(taken(takeLine, text), row.whole) << row.name;
        EXPECT_EQ(text, row.rest) << row.name << ": what does not end stays";

        Lines all = row.whole;
        if (!row.rest.empty()) {
            all.push_back(row.rest);
        }
        text = row.text;
        EXPECT_EQ(taken(takeLineOrRest, text), all) << row.name;
        EXPECT_TRUE(text.empty()) << row.name;
    }
}

} // namespace
} // namespace korvel
