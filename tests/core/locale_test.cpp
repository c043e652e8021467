#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <locale>

#include <gtest/gtest.h>

#include "base/decimal.h"
#include "base/json_writer.h"
#include "core/inspection_tools.h"
#include "support/readings.h"

// A desktop sets the user's locale for the whole process; numbers must not follow it.
namespace korvel {
namespace {

namespace fs = std::filesystem;

class GermanPunctuation : public std::numpunct<char> {
  protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

/// All that core/ writes and reads of numbers.
void expectNumbersWithoutALocale() {
    Snapshot s;
    s.memTotalGB = 1024;
    s.memAvailableGB = 1234.5;
    s.diskFreeGB = 12345;
    s.load1 = 1234.5;
    s.cores = 2048;
    s.cpuPct = 50;
    s.topProcs = {{1, "builder", 9.34}};
    s = test::scored(s);
    EXPECT_EQ(s.alerts.at(0), "builder is holding 9.3GB");
    EXPECT_EQ(test::factor(s, "Memory").detail, "1234.5 GB free to use · macOS is comfortable");
    EXPECT_EQ(test::factor(s, "Disk").detail, "12345 GB free");
    EXPECT_EQ(test::factor(s, "Load").detail, "1234.50 across 2048 cores");
    JsonWriter json;
    json.value(1234.5);
    EXPECT_EQ(json.text(), "1234.5");
    EXPECT_EQ(parseDecimal("2.5"), 2.5);
    EXPECT_EQ(parseDecimal("2,5"), std::nullopt);
    EXPECT_EQ(swappedOutInSummary("Writable regions swapped_out=2.5M"), 2.5 * 1048576);
}

TEST(Locale, CppLocaleChangesNothing) {
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new GermanPunctuation));
    expectNumbersWithoutALocale();
    std::locale::global(before);
}

TEST(Locale, CLocaleOfAGermanDesktopChangesNothing) {
    // Systems without that locale usually still have what it is compiled from.
    const fs::path made = fs::path(testing::TempDir()) / "korvel-locale";
    fs::create_directories(made);
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
        const std::string compile =
            "localedef -i de_DE -f UTF-8 '" + (made / "de_DE.UTF-8").string() + "' >/dev/null 2>&1";
        if (std::system(compile.c_str()) == 0) {
            ::setenv("LOCPATH", made.c_str(), 1);
        }
        if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
            GTEST_SKIP() << "no German locale here, and none can be made (package locales)";
        }
    }
    std::array<char, 16> written{};
    std::snprintf(written.data(), written.size(), "%.1f", 9.3);
    EXPECT_STREQ(written.data(), "9,3") << "the locale must be in force for this test to say any";
    expectNumbersWithoutALocale();
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
    fs::remove_all(made);
}

} // namespace
} // namespace korvel
