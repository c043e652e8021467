#include "report/first_run.h"

#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

namespace korvel {
namespace {

/// A text without line breaks and repeated spaces.
std::string inOneLine(const std::string& text) {
    std::string line;
    for (const char c : text) {
        const bool space = c == ' ' || c == '\n';
        if (!space || (!line.empty() && line.back() != ' ')) {
            line += space ? ' ' : c;
        }
    }
    return line;
}

TEST(FirstRun, ThePageAndTheProgramHaveTheSameList) {
    std::ifstream file(KORVEL_DOCUMENTS "/building-on-macos.md");
    const std::string page =
        inOneLine({std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
    std::string list;
    int number = 0;
    for (const std::string& point : firstRunOnAMac()) {
        list += " " + std::to_string(++number) + ". " + point;
    }
    EXPECT_GE(number, 12);
    EXPECT_NE(page.find(list + " ##"), std::string::npos) << "the page's list is not:" << list;
}

} // namespace
} // namespace korvel
