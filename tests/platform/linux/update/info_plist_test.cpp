#include "platform/linux/update/info_plist.h"

#include <cstdint>

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

TEST(InfoPlist, StringsOfTheTopAreRead) {
    EXPECT_THAT(infoPlistStrings(kFull).value(),
                UnorderedElementsAre(Pair("CFBundleIdentifier", "com.oxbrook.korvel"),
                                     Pair("CFBundleVersion", "100"),
                                     Pair("Escaped & key", "a <b> & \"ü\""), Pair("Empty", "")));
}

TEST(InfoPlist, BinaryFormIsRefused) {
    const std::string lists[] = {kFull, kHead + "<dict/></plist>",
                                 kHead + "<dict><key>k</key><string>s</string></dict></plist>"};
    for (const std::string& xml : lists) {
        ASSERT_TRUE(infoPlistStrings(xml)) << xml;
        const std::string binary = asBinary(xml);
        ASSERT_EQ(binary.rfind("bplist00", 0), 0U);
        EXPECT_EQ(infoPlistStrings(binary), std::nullopt) << xml;
        std::string withoutZeros = binary;
        std::erase(withoutZeros, '\0');
        EXPECT_EQ(infoPlistStrings(withoutZeros), std::nullopt) << xml;
        EXPECT_EQ(infoPlistStrings("bplist00" + xml), std::nullopt) << "followed by XML";
    }
}

TEST(InfoPlist, EmptyDictionaryHasNoStrings) {
    const std::string empty = kHead + "<dict></dict></plist>";
    EXPECT_THAT(infoPlistStrings(empty).value(), IsEmpty());
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
    EXPECT_EQ(infoPlistStrings(text)->at("key299"), std::string(70, 'x') + "299");
}

TEST(InfoPlist, WhatIsNoDictionaryIsRefused) {
    const std::pair<const char*, std::string> cases[] = {
        {"empty", ""},
        {"no list", "not a property list"},
        {"zeros", std::string(100, '\0')},
        {"array", kHead + "<array><string>a</string></array></plist>"},
        {"string", kHead + "<string>a</string></plist>"},
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
    for (std::size_t length = 0; length < kFull.size(); ++length) {
        // A copy of that length, so that reading beyond it is found.
        const std::string cut(kFull.data(), length);
        const auto strings = infoPlistStrings(cut);
        EXPECT_TRUE(!strings || *strings == full) << length;
    }
}

TEST(InfoPlist, DeepNestingIsRefused) {
    EXPECT_TRUE(infoPlistStrings(nested("<array>", "</array>", 400)).has_value());
    EXPECT_EQ(infoPlistStrings(nested("<array>", "</array>", 60000)), std::nullopt);
    EXPECT_EQ(infoPlistStrings(nested("<dict><key>k</key>", "</dict>", 20000)), std::nullopt);
}

TEST(InfoPlist, TextsWithANullCharacterAreRefused) {
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

} // namespace
} // namespace korvel::platform
