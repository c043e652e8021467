#include "platform/linux/update/info_plist.h"

#include <cstdint>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <plist/plist.h>

namespace korvel::platform {
namespace {

using namespace std::string_literals;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

const std::string kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n";

const std::string kFull =
    kHead + "<dict>\n"
            "  <key>CFBundleIdentifier</key><string>com.oxbrook.korvel</string>\n"
            "  <key>CFBundleVersion</key><string>100</string>\n"
            "  <key>Number</key><integer>7</integer>\n"
            "  <key>Real</key><real>1.5</real>\n"
            "  <key>Yes</key><true/>\n"
            "  <key>Date</key><date>2024-01-01T00:00:00Z</date>\n"
            "  <key>Data</key><data>AAAA</data>\n"
            "  <key>List</key><array><string>no</string></array>\n"
            "  <key>Inner</key><dict><key>CFBundleVersion</key><string>999</string></dict>\n"
            "  <key>Escaped &amp; key</key><string>a &lt;b&gt; &amp; &quot;ü&quot;</string>\n"
            "  <key>Empty</key><string></string>\n"
            "</dict>\n</plist>\n";

std::string asBinary(const std::string& xml) {
    plist_t node = nullptr;
    ::plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &node);
    char* bytes = nullptr;
    std::uint32_t length = 0;
    ::plist_to_bin(node, &bytes, &length);
    std::string binary(bytes, length);
    std::free(bytes);
    ::plist_free(node);
    return binary;
}

std::string nested(const std::string& open, const std::string& close, int depth) {
    std::string text = kHead + "<dict><key>k</key>";
    for (int i = 0; i < depth; ++i) {
        text += open;
    }
    for (int i = 0; i < depth; ++i) {
        text += close;
    }
    return text + "</dict></plist>";
}

TEST(InfoPlist, StringsOfTheTopAreReadFromBothForms) {
    for (const std::string& bytes : {kFull, asBinary(kFull)}) {
        EXPECT_THAT(infoPlistStrings(bytes).value(),
                    UnorderedElementsAre(Pair("CFBundleIdentifier", "com.oxbrook.korvel"),
                                         Pair("CFBundleVersion", "100"),
                                         Pair("Escaped & key", "a <b> & \"ü\""),
                                         Pair("Empty", "")));
    }
}

TEST(InfoPlist, EmptyDictionaryHasNoStrings) {
    const std::string empty = kHead + "<dict></dict></plist>";
    EXPECT_THAT(infoPlistStrings(empty).value(), IsEmpty());
    EXPECT_THAT(infoPlistStrings(asBinary(empty)).value(), IsEmpty());
    EXPECT_THAT(infoPlistStrings(kHead + "<dict/></plist>").value(), IsEmpty());
}

TEST(InfoPlist, ManyKeysAndLongStringsAreRead) {
    std::string text = kHead + "<dict>";
    for (int i = 0; i < 300; ++i) {
        text += "<key>key" + std::to_string(i) + "</key><string>" + std::string(70, 'x') +
                std::to_string(i) + "</string>";
    }
    text += "</dict></plist>";
    EXPECT_EQ(infoPlistStrings(text)->size(), 300U);
    EXPECT_EQ(infoPlistStrings(asBinary(text))->at("key299"), std::string(70, 'x') + "299");
}

TEST(InfoPlist, WhatIsNoDictionaryIsRefused) {
    const std::pair<const char*, std::string> cases[] = {
        {"empty", ""},
        {"no list", "not a property list"},
        {"zeros", std::string(100, '\0')},
        {"array", kHead + "<array><string>a</string></array></plist>"},
        {"string", kHead + "<string>a</string></plist>"},
        {"binary array", asBinary(kHead + "<array><string>a</string></array></plist>")},
        {"binary signature alone", "bplist00"},
        {"binary signature and zeros", "bplist00" + std::string(64, '\0')},
        {"end is missing", kHead + "<dict><key>a</key><string>b</string>"},
        {"value is missing", kHead + "<dict><key>a</key></dict></plist>"},
        {"key is missing", kHead + "<dict><string>b</string></dict></plist>"},
        {"tags cross", kHead + "<dict><key>a</dict></key></plist>"},
        {"too large", kFull + std::string(std::size_t{1} << 20, ' ')},
    };
    for (const auto& [why, bytes] : cases) {
        const auto strings = infoPlistStrings(bytes);
        EXPECT_TRUE(!strings || strings->empty()) << why;
    }
}

TEST(InfoPlist, CutAtAnyLengthItTellsNothingWrong) {
    const auto full = infoPlistStrings(kFull).value();
    for (const std::string& bytes : {kFull, asBinary(kFull)}) {
        for (std::size_t length = 0; length < bytes.size(); ++length) {
            // A copy of that length, so that reading beyond it is found.
            const std::string cut(bytes.data(), length);
            const auto strings = infoPlistStrings(cut);
            EXPECT_TRUE(!strings || *strings == full) << length;
        }
    }
}

TEST(InfoPlist, DeepNestingIsRefused) {
    EXPECT_TRUE(infoPlistStrings(nested("<array>", "</array>", 400)).has_value());
    EXPECT_EQ(infoPlistStrings(nested("<array>", "</array>", 60000)), std::nullopt);
    EXPECT_EQ(infoPlistStrings(nested("<dict><key>k</key>", "</dict>", 20000)), std::nullopt);
    EXPECT_TRUE(infoPlistStrings(asBinary(nested("<array>", "</array>", 400))).has_value());
    EXPECT_EQ(infoPlistStrings(asBinary(nested("<array>", "</array>", 2000))), std::nullopt);
}

TEST(InfoPlist, CollectionsThatShareOrHoldThemselvesAreRefused) {
    const auto binary = [](int arrays, auto refersTo) {
        std::string bytes = "bplist00";
        std::string table;
        const auto object = [&](const std::string& content) {
            table += static_cast<char>(bytes.size());
            bytes += content;
        };
        object("\xd1\1\2"); // a dictionary: string 1 -> array 2
        object("\x51k");
        for (int i = 0; i < arrays; ++i) {
            const char target = static_cast<char>(refersTo(i));
            object("\xa2"s + target + target);
        }
        const char tableAt = static_cast<char>(bytes.size());
        return bytes + table + std::string(6, '\0') + "\1\1" + std::string(7, '\0') +
               static_cast<char>(table.size()) + std::string(8, '\0') + std::string(7, '\0') +
               tableAt;
    };
    // Each refers to the next twice: two to the power of thirty in the end.
    EXPECT_EQ(infoPlistStrings(binary(30, [](int i) { return i < 29 ? i + 3 : 1; })), std::nullopt);
    EXPECT_EQ(infoPlistStrings(binary(1, [](int) { return 2; })), std::nullopt) << "itself";
    EXPECT_EQ(infoPlistStrings(binary(1, [](int) { return 0; })), std::nullopt) << "the top";
    EXPECT_TRUE(infoPlistStrings(binary(1, [](int) { return 1; })).has_value())
        << "a string may be there twice";
}

TEST(InfoPlist, TextsWithANullCharacterAreRefused) {
    const std::string good = asBinary(kHead + "<dict><key>kkk</key><string>sss</string>"
                                              "<key>wide</key><string>ÿÿÿ</string></dict></plist>");
    ASSERT_EQ(infoPlistStrings(good)->size(), 2U);
    const std::pair<std::string, std::string> changes[] = {
        {"kkk", "k\0k"s}, {"sss", "s\0s"s}, {"\0\xff\0\xff"s, "\0\xff\0\0"s}};
    for (const auto& [from, to] : changes) {
        std::string bytes = good;
        ASSERT_NE(bytes.find(from), std::string::npos);
        bytes.replace(bytes.find(from), from.size(), to);
        EXPECT_EQ(infoPlistStrings(bytes), std::nullopt);
    }
    EXPECT_EQ(infoPlistStrings(kHead + "<dict><key>k\0k</key><string>s</string></dict></plist>"s),
              std::nullopt);
    for (const std::string reference : {"&#0;", "&#x0;", "&#00000000000;", "&#4294967296;"}) {
        std::string text = kHead;
        text.append("<dict><key>k").append(reference);
        text.append("k</key><string>s").append(reference).append("s</string></dict></plist>");
        const auto strings = infoPlistStrings(text);
        EXPECT_TRUE(!strings || strings->size() == 1U) << reference;
    }
}

TEST(InfoPlist, StringThatIsReferredToTooOftenIsRefused) {
    // A dictionary of many keys that all have the same long string.
    const auto binary = [](std::size_t keys, std::size_t length) {
        const auto big = [](std::size_t number, int bytes) {
            std::string text;
            for (int i = bytes - 1; i >= 0; --i) {
                text += static_cast<char>(number >> (8 * i) & 0xffU);
            }
            return text;
        };
        std::string bytes = "bplist00";
        std::string table = big(bytes.size(), 4);
        bytes += "\xdf\x12" + big(keys, 4);
        for (std::size_t i = 0; i < keys; ++i) {
            bytes += big(2 + i, 2);
        }
        for (std::size_t i = 0; i < keys; ++i) {
            bytes += big(1, 2);
        }
        table += big(bytes.size(), 4);
        bytes += "\x5f\x12" + big(length, 4) + std::string(length, 'x');
        for (std::size_t i = 0; i < keys; ++i) {
            table += big(bytes.size(), 4);
            bytes += "\x54" + std::to_string(1000 + i);
        }
        const std::size_t place = bytes.size();
        return bytes + table + std::string(6, '\0') + "\4\2" + big(keys + 2, 8) + big(0, 8) +
               big(place, 8);
    };
    EXPECT_EQ(infoPlistStrings(binary(1000, 1000))->size(), 1000U);
    EXPECT_EQ(infoPlistStrings(binary(1000, 10000)), std::nullopt);
}

} // namespace
} // namespace korvel::platform
