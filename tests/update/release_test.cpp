#include "update/release.h"

#include <limits>

#include <gtest/gtest.h>

namespace korvel {
namespace {

const std::string kWhole = R"({"version": "2.0", "build": 42, "url": "https://host/a.zip",
    "sha256": "AbC0", "notes": "- One", "minimumOS": "14.0"})";

/// The feed with the value of one key replaced by other JSON, or, if that is empty, left out.
std::string with(const std::string& key, const std::string& json) {
    std::string feed = "{";
    const std::pair<const char*, const char*> members[] = {
        {"version", R"("2.0")"}, {"build", "42"},         {"url", R"("https://host/a.zip")"},
        {"sha256", R"("abc0")"}, {"notes", R"("- One")"}, {"minimumOS", R"("14.0")"}};
    for (const auto& [name, value] : members) {
        const std::string text = name == key ? json : value;
        if (!text.empty()) {
            feed += (feed.size() > 1 ? "," : "") + ("\"" + std::string(name) + "\":") + text;
        }
    }
    return feed + "}";
}

TEST(ReleaseFeed, IsOneObjectOfTheLatestRelease) {
    const auto release = decodeRelease(kWhole);
    ASSERT_TRUE(release);
    EXPECT_EQ(*release, (Release{"2.0", 42, "https://host/a.zip", "abc0", "- One", "14.0"}));
}

TEST(ReleaseFeed, RequiredKeysMustBeThereAndOfTheirType) {
    for (const char* key : {"version", "build", "url", "sha256"}) {
        EXPECT_FALSE(decodeRelease(with(key, ""))) << key << " missing";
        for (const char* json : {"null", "true", "[]", "{}", "[1]"}) {
            EXPECT_FALSE(decodeRelease(with(key, json))) << key << " " << json;
        }
    }
    for (const char* key : {"version", "url", "sha256"}) {
        EXPECT_FALSE(decodeRelease(with(key, "42"))) << key;
    }
}

TEST(ReleaseFeed, OptionalKeysOfAnotherTypeCountAsMissing) {
    for (const char* json : {"", "null", "7", "false", R"(["x"])", R"({"x": 1})"}) {
        const auto notes = decodeRelease(with("notes", json));
        ASSERT_TRUE(notes) << json;
        EXPECT_EQ(notes->notes, "") << json;
        const auto system = decodeRelease(with("minimumOS", json));
        ASSERT_TRUE(system) << json;
        EXPECT_EQ(system->minimumOS, "13.0") << json;
    }
}

TEST(ReleaseFeed, TheDigestIsLowerCasedAndNothingElse) {
    EXPECT_EQ(decodeRelease(with("sha256", R"("ABCDEF0 Zß-?@[")"))->sha256, "abcdef0 zß-?@[");
    EXPECT_EQ(decodeRelease(with("sha256", R"("")"))->sha256, "");
}

TEST(ReleaseFeed, TheSchemeIsExactlyHttps) {
    for (const char* url : {"http://host/a.zip", "HTTPS://host/a.zip", "Https://host/a.zip",
                            "ftp://host/a.zip", "file:///a.zip", "//host/a.zip", "a.zip", "",
                            " https://host/a.zip", "https://ho st/a.zip"}) {
        EXPECT_FALSE(decodeRelease(with("url", "\"" + std::string(url) + "\""))) << url;
    }
}

TEST(ReleaseFeed, AVersionOrNotesThatAreTooLongAreNoRelease) {
    const auto text = [](const std::string& content) { return "\"" + content + "\""; };
    const std::string version(256, '1');
    EXPECT_EQ(decodeRelease(with("version", text(version)))->version, version);
    EXPECT_FALSE(decodeRelease(with("version", text(version + "1"))));
    const std::string notes(65536, 'n');
    EXPECT_EQ(decodeRelease(with("notes", text(notes)))->notes, notes);
    EXPECT_FALSE(decodeRelease(with("notes", text(notes + "n"))));
    EXPECT_FALSE(decodeRelease(with("notes", text(std::string(1000000, 'n')))));
    // Bytes of UTF-8 count, not characters, nor how the feed writes them.
    EXPECT_TRUE(decodeRelease(with("version", text(version.substr(2) + R"(\u00e4)"))));
    EXPECT_FALSE(decodeRelease(with("version", text(version.substr(1) + R"(\u00e4)"))));
    EXPECT_FALSE(decodeRelease(with("notes", text(notes.substr(1) + "ä"))));
}

TEST(ReleaseFeed, UnknownKeysAndOrderDoNotMatter) {
    EXPECT_TRUE(decodeRelease(
        R"({"x": {"build": "no", "y": [1, {"z": null}]}, "sha256": "", "url": "https://h/",
            "huge": 123456789012345678901234567890, "build": 1, "version": ""})"));
}

TEST(ReleaseFeed, AKeyIsReadAsItIsWritten) {
    const std::string rest = with("version", "").substr(1);
    for (const char* key : {"Version", "VERSION", "version ", "versio"}) {
        EXPECT_FALSE(decodeRelease("{\"" + std::string(key) + "\":\"2.0\"," + rest)) << key;
    }
    EXPECT_EQ(decodeRelease(R"({"\u0076ersion":"2.0",)" + rest)->version, "2.0") << "escaped";
}

TEST(ReleaseFeed, AKeyThatIsGivenTwiceCountsWithItsLastValue) {
    EXPECT_EQ(decodeRelease(with("build", R"(1, "build": 2)"))->build, 2);
    EXPECT_FALSE(decodeRelease(with("build", R"(1, "build": "2")")));
    EXPECT_EQ(decodeRelease(with("build", R"("1", "build": 2)"))->build, 2);
    EXPECT_FALSE(decodeRelease(with("build", R"([01], "build": 2)"))) << "each has to be valid";
}

TEST(ReleaseFeed, EscapesAreRead) {
    EXPECT_EQ(decodeRelease(with("version", R"("\u0032\u00e4\"\\")"))->version, "2ä\"\\");
    EXPECT_EQ(decodeRelease(with("url", R"("https:\/\/host\/a.zip")"))->url, "https://host/a.zip");
}

TEST(ReleaseFeed, AByteOrderMarkAndSpaceAroundAreNoError) {
    EXPECT_TRUE(decodeRelease("\xef\xbb\xbf" + kWhole));
    EXPECT_TRUE(decodeRelease(" \t\r\n" + kWhole + "\n\n"));
}

TEST(ReleaseFeed, WhatIsNoValidObjectIsNoRelease) {
    for (const std::string& feed : {std::string(),
                                    std::string("null"),
                                    "[" + kWhole + "]",
                                    "\"" + kWhole + "\"",
                                    kWhole + "x",
                                    kWhole + kWhole,
                                    "\xef\xbb\xbf\xef\xbb\xbf" + kWhole,
                                    kWhole.substr(0, kWhole.size() - 1),
                                    std::string("{}"),
                                    std::string("{\"build\": 1,}"),
                                    with("x", ""),
                                    with("notes", "\"a\nb\""),
                                    with("notes", "\"\xff\""),
                                    with("notes", R"("\ud800")"),
                                    with("notes", "tru"),
                                    with("notes", "01"),
                                    with("notes", "[1,]"),
                                    with("notes", R"({"a" 1})"),
                                    with("notes", R"({"a": 01})"),
                                    with("notes", R"({"\ud800": 1})"),
                                    with("notes", R"(["\ud800"])"),
                                    with("notes", "nul"),
                                    with("notes", "42?"),
                                    with("notes", R"("", "unknown": [01])"),
                                    with("build", "42?"),
                                    with("build", "0x1"),
                                    with("build", "+1"),
                                    with("build", "1."),
                                    with("build", ".5"),
                                    with("build", "1e"),
                                    with("build", "-"),
                                    with("build", "NaN"),
                                    with("notes", std::string(600, '[') + std::string(600, ']')),
                                    std::string(3, '\0')}) {
        if (feed != with("x", "")) {
            EXPECT_FALSE(decodeRelease(feed)) << feed.substr(0, 200);
        }
    }
}

TEST(ReleaseFeed, NestingWithoutEndIsNoRelease) {
    constexpr std::size_t kDeep = 500000;
    EXPECT_FALSE(decodeRelease(with("notes", std::string(kDeep, '['))));
    EXPECT_FALSE(decodeRelease(with("notes", std::string(kDeep, '[') + std::string(kDeep, ']'))));
    EXPECT_FALSE(decodeRelease(std::string(kDeep, '{')));
    constexpr std::size_t kDeepest = 513;
    const auto arrays = [](std::size_t count) {
        return with("notes", std::string(count, '[') + std::string(count, ']'));
    };
    const auto objects = [](std::size_t count) {
        std::string json = "{}";
        for (std::size_t i = 1; i < count; ++i) {
            json = R"({"a":)" + json + "}";
        }
        return with("notes", json);
    };
    EXPECT_TRUE(decodeRelease(arrays(kDeepest)));
    EXPECT_FALSE(decodeRelease(arrays(kDeepest + 1)));
    EXPECT_TRUE(decodeRelease(objects(kDeepest)));
    EXPECT_FALSE(decodeRelease(objects(kDeepest + 1)));
}

TEST(ReleaseFeed, ABuildIsANumberThatIsExactlyAnInteger) {
    constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
    constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
    const struct {
        const char* json;
        std::optional<std::int64_t> build;
    } cases[] = {
        {"0", 0},
        {"-0", 0},
        {"-0.0e5", 0},
        {"42", 42},
        {"42 \t\r\n", 42},
        {"-7", -7},
        {"42.0", 42},
        {"42.000000000000000000000000", 42},
        {"4.2e1", 42},
        {"-4.2e1", -42},
        {"4.2E+1", 42},
        {"4200e-2", 42},
        {"0.0042e4", 42},
        {"0e999999999999999999999", 0},
        {"0e-2", 0},
        {"-0e-3", 0},
        {"9223372036854775807", kMost},
        {"9223372036854775807.0", kMost},
        {"9223372036854775808", std::nullopt},
        {"-9223372036854775808", kLeast},
        {"-9223372036854775809", std::nullopt},
        {"9.223372036854775807e18", kMost},
        {"9007199254740993", 9007199254740993}, // no double holds it
        {"9007199254740993.0", 9007199254740993},
        {"42.5", std::nullopt},
        {"42e-1", std::nullopt},
        {"1e18", 1000000000000000000},
        {"1e19", std::nullopt},
        {"1e999999999999999999999", std::nullopt},
        {"1e-999999999999999999999", std::nullopt},
        {"1e-2147483648", std::nullopt},
        {R"("42")", std::nullopt},
        {"true", std::nullopt},
    };
    for (const auto& row : cases) {
        const auto release = decodeRelease(with("build", row.json));
        EXPECT_EQ(release ? std::optional(release->build) : std::nullopt, row.build) << row.json;
    }
}

TEST(ExactInteger, EndsWhereItsTextDoes) {
    EXPECT_EQ(exactInteger(std::string_view("1e12").substr(0, 3)), 10);
}

TEST(BuildNumber, IsADecimalIntegerOrZero) {
    const struct {
        const char* text;
        std::int64_t build;
    } cases[] = {
        {"100", 100},
        {"+100", 100},
        {"-5", -5},
        {"007", 7},
        {"", 0},
        {"+", 0},
        {"-", 0},
        {"+-5", 0},
        {"--5", 0},
        {" 42 ", 0},
        {"42 ", 0},
        {" 42", 0},
        {"4 2", 0},
        {"1.0", 0},
        {"1e3", 0},
        {"0x10", 0},
        {"12a", 0},
        {"a12", 0},
        {"١٢", 0},
        {"1\n", 0},
        {"1,000", 0},
        {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
        {"9223372036854775808", 0},
        {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
        {"-9223372036854775809", 0},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(buildNumber(row.text), row.build) << "\"" << row.text << "\"";
    }
}

} // namespace
} // namespace korvel
