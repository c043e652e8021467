#include <csignal>
#include <limits>

#include <gtest/gtest.h>

#include "model/history_store.h"
#include "support/generator.h"
#include "support/strict_history.h"

// Files as anyone may have left them.
namespace korvel {
namespace {

using namespace std::string_literals;

/// An array of `count` rows [0,1,2], [1,1,2], ...
std::string rows(std::size_t count) {
    std::string text = "[";
    for (std::size_t i = 0; i < count; ++i) {
        text += (i == 0 ? "[" : ",[") + std::to_string(i) + ",1,2]";
    }
    return text + "]";
}

std::string around(const std::string& number) {
    return "[[" + number + ",2,3]]";
}

TEST(DecodeHistory, EmptyArrayIsAnEmptyHistory) {
    for (const char* text : {"[]", " [ ] ", "\n[\t]\r\n"}) {
        EXPECT_TRUE(decodeHistory(text).empty());
        EXPECT_TRUE(test::StrictHistory::read(text)) << text;
    }
}

TEST(DecodeHistory, WhitespaceMayStandAnywhereBetweenTokens) {
    const auto points = decodeHistory(" [ [ 1 ,\t2.5\n,\r3 ] ,\n[4,5,6] ] \n");
    ASSERT_EQ(points.size(), 2U);
    EXPECT_EQ(points[0].cpu, 2.5);
    EXPECT_EQ(points[1].t, 4);
}

TEST(DecodeHistory, NumbersAreReadInEveryFormOfJson) {
    const struct {
        const char* text;
        double value;
    } cases[] = {
        {"0", 0},
        {"-1", -1},
        {"5.0", 5},
        {"1e3", 1000},
        {"1E+3", 1000},
        {"25e-1", 2.5},
        {"-0", -0.0},
        {"-0.0", -0.0},
        {"0e5", 0},
        {"0.000", 0},
        {"1e-400", 0},
        {"-1e-400", -0.0},
        {"9223372036854775808", 0x1p63},
        {"18446744073709551616", 0x1p64},
        {"-9223372036854775809", -0x1p63},
        {"123456789012345678901234567890", 1.2345678901234568e29},
        {"1.7976931348623157e308", std::numeric_limits<double>::max()},
        {"0.1000000000000000055511151231257827021181583404541015625", 0.1},
    };
    for (const auto& row : cases) {
        const auto points = decodeHistory(around(row.text));
        ASSERT_EQ(points.size(), 1U) << row.text;
        EXPECT_EQ(points[0].t, row.value) << row.text;
        EXPECT_EQ(std::signbit(points[0].t), std::signbit(row.value)) << row.text;
    }
}

TEST(DecodeHistory, LongNumbersAreReadWhole) {
    EXPECT_EQ(decodeHistory(around("1" + std::string(300, '0'))).at(0).t, 1e300);
    EXPECT_EQ(decodeHistory(around("0." + std::string(2000, '0') + "1")).at(0).t, 0);
    EXPECT_EQ(decodeHistory(around("1." + std::string(5000, '0'))).at(0).t, 1);
}

TEST(DecodeHistory, NumbersOfAnyLengthAreReadRight) {
    test::Generator random(42);
    for (int i = 0; i < 20000; ++i) {
        std::string number = random.below(3) == 0 ? "-" : "";
        number += random.chance() ? "0" : std::to_string(1 + random.below(1000000000));
        number += "." + std::string(random.below(30), '0');
        for (std::uint64_t digits = 1 + random.below(40); digits > 0; --digits) {
            number += static_cast<char>('0' + random.below(10));
        }
        if (random.chance()) {
            number += "e" + std::to_string(static_cast<int>(random.below(600)) - 300);
        }
        const double expected = std::strtod(number.c_str(), nullptr);
        const auto points = decodeHistory(around(number));
        ASSERT_EQ(points.size(), 1U) << number;
        ASSERT_EQ(points[0].t, expected) << number;
    }
}

TEST(DecodeHistory, AnythingButArraysOfArraysOfNumbersIsAnEmptyHistory) {
    const struct {
        const char* name;
        std::string text;
    } cases[] = {
        {"empty", ""},
        {"only space", " \n"},
        {"object", "{}"},
        {"object with rows", R"({"rows":[[1,2,3]]})"},
        {"text", "hello"},
        {"string", R"("[[1,2,3]]")"},
        {"number", "5"},
        {"null", "null"},
        {"binary", "\x00\x01\x02\xff\xfe"s},
        {"zero bytes", std::string(64, '\0')},
        {"numbers in one array", "[1,2,3]"},
        {"row that is an object", R"([{"t":1,"cpu":2,"mem":3}])"},
        {"row that is an empty object", "[{}]"},
        {"row that is null", "[null]"},
        {"row that is a string", R"(["[1,2,3]"])"},
        {"element that is a string", R"([["1",2,3]])"},
        {"element that is null", "[[1,null,3]]"},
        {"element that is true", "[[1,2,true]]"},
        {"element that is an object", "[[1,2,{}]]"},
        {"nested deeper", "[[[1,2,3]]]"},
        {"element that is an array", "[[1,2,[3]]]"},
        {"very deep", std::string(5000, '[') + std::string(5000, ']')},
        {"only opened", std::string(100000, '[')},
        {"string in a fourth column", R"([[1,2,3,"4"]])"},
        {"null in a fourth column", "[[1,2,3,null]]"},
        {"array in a fourth column", "[[1,2,3,[]]]"},
        {"short row and a bad one later", "[[1,2],[null]]"},
        {"trailing comma in a row", "[[1,2,3,]]"},
        {"trailing comma", "[[1,2,3],]"},
        {"leading comma", "[,[1,2,3]]"},
        {"leading comma in a row", "[[,1,2,3]]"},
        {"doubled comma", "[[1,,2,3]]"},
        {"only a comma", "[,]"},
        {"missing comma", "[[1,2,3][4,5,6]]"},
        {"missing comma in a row", "[[1 2 3]]"},
        {"colon for a comma", "[[1:2:3]]"},
        {"semicolons", "[[1;2;3]]"},
        {"not closed", "[[1,2,3]"},
        {"row not closed", "[[1,2,3"},
        {"closed by a brace", "[[1,2,3}]"},
        {"closed too often", "[[1,2,3]]]"},
        {"trailing text", "[[1,2,3]] x"},
        {"trailing number", "[[1,2,3]]4"},
        {"trailing zero byte", "[[1,2,3]]\0"s},
        {"trailing array", "[[1,2,3]][]"},
        {"trailing comma at the end", "[[1,2,3]],"},
        {"two lines of JSON", "[[1,2,3]]\n[[1,2,3]]\n"},
        {"trailing after nothing", "[] []"},
        {"text before", "x[[1,2,3]]"},
        {"comment", "[[1,2,3]]//"},
        {"comment inside", "[[1,/**/2,3]]"},
        {"byte-order mark", "\xef\xbb\xbf[[1,2,3]]"},
        {"UTF-16", "\xff\xfe[\0[\0001\0]\0]\0"s},
        {"UTF-16 without a mark", "\0[\0[\0001\0]\0]"s},
        {"invalid UTF-8", "[[1,2,3]]\xff"},
        {"invalid UTF-8 inside", "[[1,2,\xc3\x28]]"},
        {"no-break space", "[[1,\xc2\xa0\x32,3]]"},
        {"vertical tab", "[[1,\v2,3]]"},
        {"form feed", "[[1,\f2,3]]"},
        {"zero byte between", "[[1,\0 2,3]]"s},
        {"escaped bracket", "\\[[1,2,3]]"},
        {"quotes not closed", "[[1,2,\"3]]"},
        {"HTML", "<html></html>"},
    };
    for (const auto& row : cases) {
        EXPECT_FALSE(test::StrictHistory::read(row.text)) << row.name;
        EXPECT_TRUE(decodeHistory(row.text).empty()) << row.name;
    }
}

TEST(DecodeHistory, AnythingButANumberOfJsonIsAnEmptyHistory) {
    for (const std::string number : {"01",    "-01",      "00",        "+1",     "1.",
                                     "-1.",   ".5",       "-.5",       "1e",     "1e+",
                                     "1e-",   "1.e5",     "e5",        "-",      "--1",
                                     "- 1",   "1-",       "1+1",       "1..2",   "1.2.3",
                                     "1e5.5", "1e5e5",    "0x10",      "0b1",    "1_0",
                                     "1 0",   "1a",       "1,5e",      "NaN",    "nan",
                                     "-NaN",  "Infinity", "-Infinity", "inf",    "1f",
                                     "1d",    "1L",       "true",      "tru",    "nul",
                                     "1e309", "-1e309",   "1e999",     "-1e999", "1e99999999999",
                                     "１"}) {
        EXPECT_FALSE(test::StrictHistory::read(around(number))) << number;
        EXPECT_TRUE(decodeHistory(around(number)).empty()) << number;
        EXPECT_TRUE(decodeHistory("[[1,2," + number + "]]").empty()) << number;
    }
    EXPECT_TRUE(decodeHistory(around(std::string(400, '9'))).empty());
}

TEST(DecodeHistory, ElementsBeyondTheThirdAreIgnored) {
    const auto points = decodeHistory("[[1,2,3,4],[5,6,7,8,9,10]]");
    EXPECT_EQ(encodeHistory(points), "[[1,2,3],[5,6,7]]");
}

TEST(DecodeHistory, KeepsTheLastRowsOfALongFileInFileOrder) {
    for (const std::size_t count : {kHistoryCap - 1, kHistoryCap, kHistoryCap + 1,
                                    std::size_t{50000}, 2 * kHistoryCap, 2 * kHistoryCap + 7}) {
        const auto points = decodeHistory(rows(count));
        const std::size_t kept = std::min(count, kHistoryCap);
        ASSERT_EQ(points.size(), kept);
        for (std::size_t i = 0; i < kept; ++i) {
            ASSERT_EQ(points[i].t, static_cast<double>(count - kept + i)) << count;
        }
    }
}

TEST(DecodeHistory, AgesPlayNoPart) {
    const auto points = decodeHistory("[[-1e12,1,2],[9e15,1,2],[0,1,2]]");
    EXPECT_EQ(points.size(), 3U);
}

TEST(DecodeHistoryDeathTest, KeptRowWithFewerThanThreeNumbersIsFatal) {
    for (const char* text : {"[[]]", "[[1]]", "[[1,2]]", "[[1,2,3],[1,2]]", "[[1,2],[1,2,3]]"}) {
        EXPECT_EXIT(decodeHistory(text), testing::KilledBySignal(SIGABRT), "^$") << text;
    }
}

TEST(DecodeHistoryDeathTest, OldestKeptRowIsLookedAtToo) {
    const std::string text = "[[1,2]," + rows(kHistoryCap - 1).substr(1);
    EXPECT_EXIT(decodeHistory(text), testing::KilledBySignal(SIGABRT), "^$");
}

TEST(DecodeHistory, ShortRowAmongTheDroppedIsNotLookedAt) {
    const auto points = decodeHistory("[[1,2],[]," + rows(kHistoryCap).substr(1));
    EXPECT_EQ(points.size(), kHistoryCap);
    EXPECT_EQ(points[0].t, 0);
}

TEST(DecodeHistory, BadElementInADroppedRowEmptiesTheHistory) {
    for (const char* bad : {"[1,2,\"3\"]", "[1,null]", "{}", "[1,2,3,true]", "[[]]"}) {
        const std::string text = "[" + std::string(bad) + "," + rows(kHistoryCap).substr(1);
        EXPECT_TRUE(decodeHistory(text).empty()) << bad;
    }
}

TEST(DecodeHistory, BadElementAfterAShortRowEmptiesTheHistoryBeforeItIsLookedAt) {
    EXPECT_TRUE(decodeHistory("[[1,2],[1,2,\"3\"]]").empty());
    EXPECT_TRUE(decodeHistory("[[1,2]").empty());
    EXPECT_TRUE(decodeHistory("[[1,2]]x").empty());
}

TEST(DecodeHistory, AgreesWithASecondReaderOnAnyDamage) {
    // Damage to a good file: bytes replaced, inserted, removed, with what JSON is made of.
    const std::string alphabet = "[]{},:.-+eE0123456789 \n\"\\ntf\xff/"s + '\0';
    test::Generator random(41);
    int refused = 0;
    int accepted = 0;
    for (int round = 0; round < 40000; ++round) {
        std::string text = "[[1700000000.25,12.5,40,7],[-0.12345678901234567890123,2e-3,30E+1]]";
        for (std::uint64_t changes = 1 + random.below(3); changes > 0; --changes) {
            const std::size_t at = random.below(text.size());
            const char c = alphabet[random.below(alphabet.size())];
            switch (random.below(3)) {
            case 0:
                text[at] = c;
                break;
            case 1:
                text.insert(at, 1, c);
                break;
            default:
                text.erase(at, 1);
            }
        }
        const auto expected = test::StrictHistory::read(text);
        if (!expected) {
            ASSERT_TRUE(decodeHistory(text).empty()) << text;
            ++refused;
            continue;
        }
        if (std::any_of(expected->begin(), expected->end(),
                        [](const auto& row) { return row.size() < 3; })) {
            continue; // fatal
        }
        const auto points = decodeHistory(text);
        ASSERT_EQ(points.size(), expected->size()) << text;
        for (std::size_t i = 0; i < points.size(); ++i) {
            ASSERT_EQ(points[i].t, (*expected)[i][0]) << text;
            ASSERT_EQ(points[i].cpu, (*expected)[i][1]) << text;
            ASSERT_EQ(points[i].mem, (*expected)[i][2]) << text;
        }
        ++accepted;
    }
    EXPECT_GT(refused, 5000);
    EXPECT_GT(accepted, 5000);
}

} // namespace
} // namespace korvel
