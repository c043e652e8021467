#include "base/command_syntax.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvel {
namespace {

using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;
using Words = std::vector<std::string>;

bool isShort(std::string_view value) {
    return value.size() < 3;
}

const CommandSyntax kFull = {
    "tool",
    "Does things.",
    {
        {"", {{"--red", "--hue"}, {"--size"}, {"--quick"}}, "FILE"},
        {"--count", {{"--quick"}}, "FILE"},
        {"--list", {}, ""},
    },
    {
        {"--red", "", "in red"},
        {"--hue", "DEGREES", "in that hue"},
        {"--size", "N", "so large", isShort},
        {"--quick", "", "at once"},
        {"--count", "", "count the hues"},
        {"--list", "", "list the hues"},
    },
    {{"Exit status", {{"0", "done"}, {"a long term of its own", "broken"}}}},
};
const CommandSyntax kWithoutOperand = {
    "plain", "Prints.", {{"", {{"--quick"}}, ""}}, {{"--quick", "", "at once"}}, {}};

TEST(CommandSyntax, WordsAreReadInAnyOrder) {
    const auto words = readCommand(kFull, {"--size", "5", "file", "--hue", "-20"});
    ASSERT_TRUE(words);
    EXPECT_THAT(words->options, UnorderedElementsAre(Pair("--size", "5"), Pair("--hue", "-20")));
    EXPECT_EQ(words->operand, "file");
    EXPECT_TRUE(words->has("--hue"));
    EXPECT_FALSE(words->has("--red"));
}

TEST(CommandSyntax, OfAnOptionGivenTwiceTheLastValueCounts) {
    const auto words = readCommand(kFull, {"--size", "5", "--size", "6", "--red", "--red", "file"});
    ASSERT_TRUE(words);
    EXPECT_EQ(words->options.at("--size"), "6");
}

TEST(CommandSyntax, AValueIsTakenAsItIs) {
    EXPECT_EQ(readCommand(kFull, {"--hue", "--red", "file"})->options.at("--hue"), "--red");
    EXPECT_EQ(readCommand(kFull, {"--hue", "", "file"})->options.at("--hue"), "");
}

TEST(CommandSyntax, AnOptionThatStandsAloneNeedsNoOperand) {
    for (const char* option : {"--list", "--help", "--version"}) {
        const auto words = readCommand(kFull, {option});
        ASSERT_TRUE(words) << option;
        EXPECT_THAT(words->options, UnorderedElementsAre(Pair(option, "")));
    }
}

TEST(CommandSyntax, AnOptionAsksForAFormOfItsOwn) {
    EXPECT_TRUE(readCommand(kFull, {"file", "--quick", "--count"}));
    EXPECT_TRUE(readCommand(kFull, {"--count", "file"}));
}

TEST(CommandSyntax, WrongWordsAreRefused) {
    const std::vector<Words> wrong = {
        {},
        {""},
        {"file", ""},
        {"file", "other"},
        {"-"},
        {"-x"},
        {"--unknown", "file"},
        {"--quick"},
        {"--quick=1", "file"},
        {"--Quick", "file"},
        {"--size", "file"},
        {"file", "--size"},
        {"--size", "long", "file"},
        {"--red", "--hue", "5", "file"},
        {"--hue", "5", "--red", "file"},
        {"--list", "file"},
        {"file", "--list"},
        {"--list", "--quick"},
        {"--count"},
        {"--count", "--red", "file"},
        {"--count", "--list", "file"},
        {"--help", "--version"},
        {"file", "--help"},
    };
    for (const Words& words : wrong) {
        EXPECT_FALSE(readCommand(kFull, words)) << testing::PrintToString(words);
    }
}

TEST(CommandSyntax, AProgramWithoutAnOperandTakesNone) {
    EXPECT_THAT(readCommand(kWithoutOperand, {})->options, IsEmpty());
    EXPECT_TRUE(readCommand(kWithoutOperand, {"--quick"}));
    EXPECT_FALSE(readCommand(kWithoutOperand, {"file"}));
    EXPECT_FALSE(readCommand(kWithoutOperand, {"--help", "file"}));
}

TEST(CommandSyntax, TheUsageIsOneLine) {
    EXPECT_EQ(commandUsage(kFull), "usage: tool [--red | --hue DEGREES] [--size N] [--quick] FILE"
                                   " | --count [--quick] FILE | --list | --help | --version");
    EXPECT_EQ(commandUsage(kWithoutOperand), "usage: plain [--quick] | --help | --version");
}

TEST(CommandSyntax, TheHelpHasEachOptionAndSectionInColumns) {
    EXPECT_EQ(commandAnswer(kFull, {{{"--help", ""}}, ""}, "1.2"), R"(Usage:
  tool [--red | --hue DEGREES] [--size N] [--quick] FILE
  tool --count [--quick] FILE
  tool --list | --help | --version

Does things.

Options:
  --red                   in red
  --hue DEGREES           in that hue
  --size N                so large
  --quick                 at once
  --count                 count the hues
  --list                  list the hues
  --help                  print this help
  --version               print the version

Exit status:
  0                       done
  a long term of its own  broken
)");
}

TEST(CommandSyntax, TheVersionIsALineWithTheProgramsName) {
    EXPECT_EQ(commandAnswer(kFull, {{{"--version", ""}}, ""}, "1.2"), "tool 1.2\n");
}

TEST(CommandSyntax, WordsThatAskForTheWorkHaveNoAnswer) {
    EXPECT_FALSE(commandAnswer(kFull, {{{"--quick", ""}}, "file"}, "1.2"));
}

} // namespace
} // namespace korvel
