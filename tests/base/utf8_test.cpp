#include "base/utf8.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace korvel {
namespace {

using namespace std::string_literals;

constexpr const char* kReplacement = "\xef\xbf\xbd";

/// `text` with each "?" turned into U+FFFD.
std::string replaced(const std::string& text) {
    std::string result;
    for (const char c : text) {
        result += c == '?' ? kReplacement : std::string(1, c);
    }
    return result;
}

TEST(Utf8, WellFormedTextStaysAsItIs) {
    for (const std::string& text :
         {""s, "plain"s, "a\0b"s, "\x7f"s, "\u0080\u07ff"s, "\u0800\ud7ff\ue000\uffff"s,
          "\U00010000\U0010ffff"s, "Grüße, 世界 ☕"s, "\ufeff"s, "\uffff"s, "e\u0301"s}) {
        EXPECT_TRUE(isUtf8(text)) << text;
        EXPECT_EQ(decodeUtf8Lossy(text), text);
    }
}

TEST(Utf8, IllFormedPartBecomesOneReplacementForEachMaximalSubpart) {
    const struct {
        const char* name;
        std::string bytes;
        std::string expected; ///< "?" for U+FFFD
    } cases[] = {
        {"non-shortest forms", "\xc0\xaf\xe0\x80\xbf\xf0\x81\x82\x41", "????????A"},
        {"surrogates", "\xed\xa0\x80\xed\xbf\xbf\xed\xaf\x41", "????????A"},
        {"other ill-formed sequences", "\xf4\x91\x92\x93\xff\x41\x80\xbf\x42", "?????A??B"},
        {"truncated sequences", "\xe1\x80\xe2\xf0\x91\x92\xf1\xbf\x41", "????A"},
        {"mixed", "\x61\xf1\x80\x80\xe1\x80\xc2\x62\x80\x63\x80\xbf\x64", "a???b?c??d"},
        {"lone continuation", "\x80", "?"},
        {"last continuation", "\xbf", "?"},
        {"lead alone at the end", "a\xc3", "a?"},
        {"three bytes cut after two", "a\xe2\x98", "a?"},
        {"four bytes cut after three", "\xf0\x9f\x98", "?"},
        {"lead before a letter", "\xc3z", "?z"},
        {"lead before a whole character", "\xc3\xc3\xa9", "?\u00e9"},
        {"above the last plane", "\xf5\x80\x80\x80", "????"},
        {"just above U+10FFFF", "\xf4\x90\x80\x80", "????"},
        {"bytes that never occur", "\xfe\xff\xc0\xc1", "????"},
        {"overlong slash", "\xc1\xbf", "??"},
        {"overlong three bytes", "\xe0\x9f\xbf", "???"},
        {"overlong four bytes", "\xf0\x8f\xbf\xbf", "????"},
    };
    for (const auto& row : cases) {
        EXPECT_FALSE(isUtf8(row.bytes)) << row.name;
        EXPECT_FALSE(isPlainText(row.bytes)) << row.name;
        EXPECT_EQ(decodeUtf8Lossy(row.bytes), replaced(row.expected)) << row.name;
    }
}

TEST(Utf8, OneBadByteAnywhereIsFound) {
    const std::string good = "aé☕😀";
    for (std::size_t i = 0; i <= good.size(); ++i) {
        std::string bad = good;
        bad.insert(i, "\xff");
        EXPECT_FALSE(isUtf8(bad)) << i;
    }
}

TEST(Utf8, DecodedTextIsAlwaysWellFormed) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string bytes{static_cast<char>(first), static_cast<char>(second), 'x'};
            const std::string text = decodeUtf8Lossy(bytes);
            EXPECT_TRUE(isUtf8(text)) << first << ' ' << second;
            EXPECT_EQ(text == bytes, isUtf8(bytes)) << first << ' ' << second;
        }
    }
}

TEST(PlainText, HasNoControlCharacterAnywhere) {
    for (const std::string& text : {""s, " "s, "~"s, "a b"s, "\u00a0"s, "\u00ad"s, "Grüße, 世界 ☕"s,
                                    "\u0480"s, "\u2028"s, "\ufeff"s, "\U0010ffff"s}) {
        EXPECT_TRUE(isPlainText(text)) << text;
    }
    std::vector<std::string> controls;
    for (char c = 0; c < 0x20; ++c) {
        controls.emplace_back(1, c);
    }
    controls.emplace_back("\x7f");
    for (int c = 0x80; c < 0xa0; ++c) {
        controls.push_back("\xc2"s + static_cast<char>(c));
    }
    for (const std::string& control : controls) {
        EXPECT_EQ(leadingControl(control), control.size()) << testing::PrintToString(control);
        EXPECT_EQ(leadingControl(control + "x"), control.size());
        for (const std::string& text :
             {control, "é" + control, control + "é", "a" + control + "b"}) {
            EXPECT_FALSE(isPlainText(text)) << testing::PrintToString(text);
        }
    }
    for (const char* other : {"", "x\n", " ", "\u00a0", "\u0480", "\xc2", "\xc3\x80"}) {
        EXPECT_EQ(leadingControl(other), 0U) << other;
    }
}

} // namespace
} // namespace korvel
