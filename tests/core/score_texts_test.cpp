#include <cmath>
#include <cstdio>
#include <limits>

#include <gtest/gtest.h>

#include "support/generator.h"
#include "support/readings.h"

// What the scoring pass says: the factors' details and the alerts.
namespace korvel {
namespace {

using test::factorAfter;
using test::kNaN;
using test::perfectReadings;
using test::scored;
using Lines = std::vector<std::string>;

constexpr const char* kCriticalMemory = "Memory is critically low. Quit something large";
constexpr const char* kPagingMemory = "Under memory pressure and paging to disk";
constexpr const char* kHot = "Running hot. macOS is throttling to cool down";
constexpr const char* kSwapping = "Actively swapping. RAM is oversubscribed";

template <typename Change>
std::string detail(const std::string& name, Change change) {
    return factorAfter(name, change).detail;
}

template <typename Change>
Lines alerts(Change change) {
    Snapshot s = perfectReadings();
    change(s);
    return scored(s).alerts;
}

/// What C itself writes, in the C locale.
std::string cFormat(const char* format, double value) {
    std::array<char, 512> buffer{};
    std::snprintf(buffer.data(), buffer.size(), format, value);
    return buffer.data();
}

std::string memoryDetail(double available) {
    return detail("Memory", [&](Snapshot& s) { s.memAvailableGB = available; });
}
std::string cpuDetail(double pct) {
    return detail("CPU", [&](Snapshot& s) { s.cpuPct = pct; });
}
std::string loadDetail(double load, std::int64_t cores) {
    return detail("Load", [&](Snapshot& s) {
        s.load1 = load;
        s.cores = cores;
    });
}

TEST(MemoryDetail, SaysWhatIsFreeAndHowTheSystemFeels) {
    EXPECT_EQ(memoryDetail(5.2), "5.2 GB free to use \xc2\xb7 macOS is comfortable");
    EXPECT_EQ(memoryDetail(0.25), "0.2 GB free to use · macOS is comfortable") << "half to even";
    EXPECT_EQ(memoryDetail(0.75), "0.8 GB free to use · macOS is comfortable") << "half to even";
    EXPECT_EQ(memoryDetail(128), "128.0 GB free to use · macOS is comfortable");
    EXPECT_EQ(detail("Memory", [](Snapshot& s) { s.memPressure = MemPressure::warning; }),
              "8.0 GB free to use · macOS is under pressure");
    EXPECT_EQ(detail("Memory", [](Snapshot& s) { s.memPressure = MemPressure::critical; }),
              "8.0 GB free to use · macOS is out of room");
}

TEST(DiskDetail, TruncatesAndPutsASpaceBeforeTheUnit) {
    const struct {
        double freeGB;
        const char* text;
    } cases[] = {{143, "143 GB free"},      {143.99, "143 GB free"}, {9.99, "9 GB free"},
                 {0.5, "0 GB free"},        {0, "0 GB free"},        {-0.5, "0 GB free"},
                 {12345.6, "12345 GB free"}};
    for (const auto& row : cases) {
        EXPECT_EQ(detail("Disk", [&](Snapshot& s) { s.diskFreeGB = row.freeGB; }), row.text);
    }
}

TEST(CpuDetail, RoundsAsCDoes) {
    EXPECT_EQ(cpuDetail(12), "12% busy");
    EXPECT_EQ(cpuDetail(12.5), "12% busy") << "half to even";
    EXPECT_EQ(cpuDetail(13.5), "14% busy") << "half to even";
    EXPECT_EQ(cpuDetail(0.5), "0% busy") << "half to even";
    EXPECT_EQ(cpuDetail(1.5), "2% busy");
    EXPECT_EQ(cpuDetail(99.5), "100% busy");
    EXPECT_EQ(cpuDetail(0), "0% busy");
    EXPECT_EQ(cpuDetail(100), "100% busy");
}

TEST(LoadDetail, HasTwoDecimalsAndOnePluralForm) {
    EXPECT_EQ(loadDetail(3.41, 10), "3.41 across 10 cores");
    EXPECT_EQ(loadDetail(0, 1), "0.00 across 1 cores");
    EXPECT_EQ(loadDetail(0.125, 2), "0.12 across 2 cores") << "half to even";
    EXPECT_EQ(loadDetail(0.375, 2), "0.38 across 2 cores") << "half to even";
    EXPECT_EQ(loadDetail(250, 128), "250.00 across 128 cores");
}

TEST(SwapDetail, SaysWhetherItPages) {
    EXPECT_EQ(detail("Swap", [](Snapshot& s) { s.swappingNow = true; }), "actively paging");
    EXPECT_EQ(detail("Swap", [](Snapshot& s) { s.swapUsedGB = 9; }), "not paging");
}

TEST(ThermalDetail, IsTheThermalLabel) {
    for (const int raw : {0, 1, 2, 3, 4, -1}) {
        const auto change = [&](Snapshot& s) { s.thermal = static_cast<ThermalState>(raw); };
        Snapshot s;
        change(s);
        EXPECT_EQ(detail("Thermal", change), s.thermalLabel()) << raw;
    }
}

TEST(Texts, AgreeWithCFormatsOnAnyNumber) {
    test::Generator random(7);
    for (int i = 0; i < 20000; ++i) {
        // Every other number is an exact tie of one of the three formats.
        const double ties[] = {0.5, 0.05 * 5, 0.125};
        const double tie = ties[random.below(3)] * static_cast<double>(2 * random.below(5000) + 1);
        const double number = random.chance() ? tie : random.between(0, 200);
        EXPECT_EQ(memoryDetail(number),
                  cFormat("%.1f", number) + " GB free to use · macOS is comfortable");
        EXPECT_EQ(cpuDetail(number), cFormat("%.0f%% busy", number));
        EXPECT_EQ(loadDetail(number, 4), cFormat("%.2f across 4 cores", number));
    }
}

TEST(Texts, NumberThatIsNoneReadsAsCWritesIt) {
    EXPECT_EQ(cpuDetail(kNaN), cFormat("%.0f%% busy", kNaN));
    EXPECT_EQ(loadDetail(kNaN, 4), cFormat("%.2f across 4 cores", kNaN));
}

TEST(DiskAlert, NoFigureIsNoAlert) {
    for (const double freeGB : {0.0, 9.0, 20.0}) {
        EXPECT_TRUE(alerts([&](Snapshot& s) {
                        s.diskFreeGB = freeGB;
                        s.unreported.dataVolume = true;
                    }).empty())
            << freeGB;
    }
}

TEST(DiskAlert, ComparesTheUnroundedSpaceStrictly) {
    const struct {
        double freeGB;
        Lines lines;
    } cases[] = {
        {0, {"Disk critical: only 0GB left"}},
        {7.9, {"Disk critical: only 7GB left"}},
        {9.99, {"Disk critical: only 9GB left"}},
        {std::nextafter(10, 0), {"Disk critical: only 9GB left"}},
        {10, {"Disk getting tight: 10GB free"}},
        {18.7, {"Disk getting tight: 18GB free"}},
        {std::nextafter(25, 0), {"Disk getting tight: 24GB free"}},
        {25, {}},
        {std::nextafter(25, 26), {}},
        {500, {}},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(alerts([&](Snapshot& s) { s.diskFreeGB = row.freeGB; }), row.lines) << row.freeGB;
    }
}

TEST(MemoryAlert, WarningAloneSaysNothing) {
    const struct {
        const char* name;
        MemPressure pressure;
        bool swapping;
        Lines lines;
    } cases[] = {
        {"normal", MemPressure::normal, false, {}},
        {"normal, swapping", MemPressure::normal, true, {kSwapping}},
        {"warning", MemPressure::warning, false, {}},
        {"warning, swapping", MemPressure::warning, true, {kPagingMemory, kSwapping}},
        {"critical", MemPressure::critical, false, {kCriticalMemory}},
        {"critical, swapping", MemPressure::critical, true, {kCriticalMemory, kSwapping}},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(alerts([&](Snapshot& s) {
                      s.memPressure = row.pressure;
                      s.swappingNow = row.swapping;
                  }),
                  row.lines)
            << row.name;
    }
}

TEST(ThermalAlert, OnlyForSeriousAndCritical) {
    for (const int raw : {-1, 0, 1, 2, 3, 4, 7}) {
        const Lines expected = raw == 2 || raw == 3 ? Lines{kHot} : Lines{};
        EXPECT_EQ(alerts([&](Snapshot& s) { s.thermal = static_cast<ThermalState>(raw); }),
                  expected)
            << raw;
    }
}

TEST(RunawayAlert, NamesTheProcessAndItsSize) {
    const struct {
        double gb;
        const char* line;
    } cases[] = {{9.34, "builder is holding 9.3GB"},
                 {8, "builder is holding 8.0GB"},
                 {8.25, "builder is holding 8.2GB"},
                 {120.06, "builder is holding 120.1GB"}};
    for (const auto& row : cases) {
        EXPECT_EQ(alerts([&](Snapshot& s) {
                      s.topProcs = {{1, "builder", row.gb}};
                  }),
                  Lines{row.line});
    }
    EXPECT_EQ(alerts([&](Snapshot& s) {
                  s.topProcs = {{1, "{} %s %d", 8}};
              }),
              Lines{"{} %s %d is holding 8.0GB"})
        << "a name is not a format";
}

TEST(Alerts, StandInTheirOrder) {
    EXPECT_EQ(alerts([](Snapshot& s) {
                  s.topProcs = {{1, "builder", 9.34}};
                  s.diskFreeGB = 7;
                  s.memPressure = MemPressure::critical;
                  s.thermal = ThermalState::critical;
                  s.swappingNow = true;
              }),
              (Lines{"builder is holding 9.3GB", "Disk critical: only 7GB left", kCriticalMemory,
                     kHot, kSwapping}));
}

TEST(Alerts, AreMadeAnewInEachPass) {
    Snapshot s = perfectReadings();
    s.diskFreeGB = 7;
    s = scored(scored(s));
    EXPECT_EQ(s.alerts.size(), 1U);
}

} // namespace
} // namespace korvel
