#include "core/inspection_tools.h"

#include <gtest/gtest.h>

#include "core/metrics.h"
#include "platform/simulated/swapped_memory.h"

namespace korvel {
namespace {

using namespace std::string_literals;
using platform::ChildResult;
using platform::ChildStream;

/// Answers every run with the same result.
class FakeChildProcesses final : public platform::ChildProcesses {
  public:
    struct Run {
        std::string executable;
        std::vector<std::string> arguments;
        platform::ChildStreams streams;
    };

    std::optional<ChildResult> answer = ChildResult{};
    std::vector<Run> runs;

    std::optional<ChildResult> run(const std::string& executable,
                                   const std::vector<std::string>& arguments,
                                   platform::ChildStreams streams) override {
        runs.push_back({executable, arguments, streams});
        return answer;
    }
    bool start(const std::string& executable, const std::vector<std::string>& arguments) override {
        return run(executable, arguments, {}).has_value();
    }
};

/// The figure of a summary whose field reads "swapped_out=" + `field`, in GB.
double gbOf(const std::string& field) {
    FakeChildProcesses children;
    children.answer = ChildResult{"Writable regions: Total=2.5M swapped_out=" + field, 0};
    VmmapSwappedMemory memory(children);
    return Metrics::swappedGB(1, memory);
}

TEST(SwappedGB, ReadsEachUnit) {
    const struct {
        const char* field;
        double gb;
    } cases[] = {
        {"512K", 0.00048828125},
        {"512k", 0.00048828125},
        {"1.5G", 1.5},
        {"1.5g", 1.5},
        {"300M", 0.29296875},
        {"300m", 0.29296875},
        {"0K", 0},
        {"2.5M", 0.00244140625},
        {"1048576", 0.0009765625},
        {"1048576.", 0.0009765625},
        {"12K(resident)", 12 * 0x1p-20},
        {"12K resident", 12 * 0x1p-20},
        {"12K\n34G", 12 * 0x1p-20},
        {"5.K", 5 * 0x1p-20},
        {".5G", 0.5},
        {"0.1K", 0.1 * 0x1p-20},
        {"007M", 7 * 0x1p-10},
        {"12T", 12 * 0x1p-30},
        {"12K\r\n", 12 * 0x1p-20},
        {"1,5G", 1 * 0x1p-30},
        {"3?", 3 * 0x1p-30},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(gbOf(row.field), row.gb) << row.field;
    }
}

TEST(SwappedGB, UnreadableNumberIsZero) {
    for (const char* field : {"", " 12K", "K", "G", ".", ".K", "1..5M", "1.2.3", "12KM", "5G3",
                              "KK", "-5K", "+5K", "x5K", "M12"}) {
        EXPECT_EQ(gbOf(field), 0) << '"' << field << '"';
    }
}

TEST(SwappedOutInSummary, OnlyTheFirstLineOfWritableRegionsCounts) {
    const struct {
        const char* name;
        const char* summary;
        double bytes;
    } cases[] = {
        {"no text", "", 0},
        {"only line ends", "\n\n\n", 0},
        {"no such line", "ReadOnly portion: swapped_out=5K\nTotal swapped_out=6K\n", 0},
        {"other lines before", "a\nswapped_out=1K\nWritable regions: swapped_out=2K", 2048},
        {"first lacks the field", "Writable regions: Total=1K\nWritable regions: swapped_out=2K",
         0},
        {"first is unreadable", "Writable regions swapped_out=K\nWritable regions swapped_out=2K",
         0},
        {"field before the phrase", "swapped_out=3K of Writable regions\n", 3072},
        {"field on the next line", "Writable regions:\nswapped_out=3K\n", 0},
        {"first field of the line", "Writable regions swapped_out=1K swapped_out=2K", 1024},
        {"empty lines around", "\n\nWritable regions swapped_out=4K\n\n", 4096},
        {"phrase in other case", "writable regions swapped_out=4K", 0},
        {"field in other case", "Writable regions Swapped_Out=4K", 0},
        {"space before the equals sign", "Writable regions swapped_out =4K", 0},
        {"longer field name", "Writable regions not_swapped_out=4K", 4096},
        {"cut in the field", "Writable regions swapped_out=", 0},
        {"cut in the field's name", "Writable regions swapped_ou", 0},
        {"real line",
         "==== Summary for process 77\nReadOnly portion of Libraries: Total=1.2G\n"
         "Writable regions: Total=2.1G written=301.0M(14%) resident=180.5M(8%) "
         "swapped_out=120.5M(6%) unallocated=1.8G(86%)\n",
         120.5 * 1048576},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(swappedOutInSummary(row.summary), row.bytes) << row.name;
    }
}

TEST(SwappedGB, RunsTheMemoryMapToolForThePid) {
    FakeChildProcesses children;
    VmmapSwappedMemory memory(children);
    Metrics::swappedGB(2147483647, memory);
    ASSERT_EQ(children.runs.size(), 1U);
    EXPECT_EQ(children.runs[0].executable, "/usr/bin/vmmap");
    EXPECT_EQ(children.runs[0].arguments, (std::vector{"--summary"s, "2147483647"s}));
    EXPECT_EQ(children.runs[0].streams.standardOutput, ChildStream::capture);
    EXPECT_EQ(children.runs[0].streams.standardError, ChildStream::discard);
}

TEST(SwappedGB, ToolThatDoesNotStartGivesZero) {
    FakeChildProcesses children;
    children.answer.reset();
    VmmapSwappedMemory memory(children);
    EXPECT_EQ(Metrics::swappedGB(1, memory), 0);
}

TEST(SwappedGB, ExitStatusIsNotLookedAt) {
    FakeChildProcesses children;
    children.answer = ChildResult{"Writable regions swapped_out=1G", 255};
    VmmapSwappedMemory memory(children);
    EXPECT_EQ(Metrics::swappedGB(1, memory), 1);
}

TEST(SwappedGB, OneInvalidByteAnywhereGivesZero) {
    for (const std::string& output :
         {"\xff\nWritable regions swapped_out=1G"s, "Writable regions swapped_out=1G \xc3"s}) {
        FakeChildProcesses children;
        children.answer = ChildResult{output, 0};
        VmmapSwappedMemory memory(children);
        EXPECT_EQ(Metrics::swappedGB(1, memory), 0) << output;
    }
}

TEST(SwappedGB, FigureThatCannotBeToldIsZero) {
    platform::SimulatedSwappedMemory memory;
    platform::CallLog log;
    memory.log = &log;
    memory.bytes[8] = 0x1p29;
    EXPECT_EQ(Metrics::swappedGB(7, memory), 0);
    EXPECT_EQ(Metrics::swappedGB(8, memory), 0.5);
    EXPECT_EQ(log, (platform::CallLog{"swappedOut 7", "swappedOut 8"}));
}

constexpr const char* kLabel = "com.oxbrook.warden.agent";

TEST(LaunchctlAgents, RunsTheServiceManagersListing) {
    FakeChildProcesses children;
    LaunchctlAgents(children).isLoaded(kLabel);
    ASSERT_EQ(children.runs.size(), 1U);
    EXPECT_EQ(children.runs[0].executable, "/bin/launchctl");
    EXPECT_EQ(children.runs[0].arguments, std::vector{"list"s});
    EXPECT_EQ(children.runs[0].streams.standardOutput, ChildStream::capture);
    EXPECT_EQ(children.runs[0].streams.standardError, ChildStream::discard);
}

TEST(LaunchctlAgents, LabelAnywhereInTheListingIsLoaded) {
    const std::string label = kLabel;
    const struct {
        const char* name;
        std::optional<ChildResult> answer;
        bool loaded;
    } cases[] = {
        {"did not start", std::nullopt, false},
        {"empty output", ChildResult{"", 0}, false},
        {"other agents", ChildResult{"PID\tStatus\tLabel\n-\t0\tcom.example.other\n", 0}, false},
        {"with a process", ChildResult{"812\t0\t" + label + "\n", 0}, true},
        {"without a process", ChildResult{"-\t78\t" + label + "\n", 0}, true},
        {"inside a longer line", ChildResult{"-\t0\tx." + label + ".helper\n", 0}, true},
        {"the label alone", ChildResult{label, 0}, true},
        {"other case", ChildResult{"com.oxbrook.Warden.agent", 0}, false},
        {"cut label", ChildResult{label.substr(0, 23), 0}, false},
        {"status not looked at", ChildResult{label, 1}, true},
        {"invalid byte after the label", ChildResult{label + "\xff", 0}, false},
    };
    for (const auto& row : cases) {
        FakeChildProcesses children;
        children.answer = row.answer;
        EXPECT_EQ(LaunchctlAgents(children).isLoaded(label), row.loaded) << row.name;
    }
}

TEST(WardenLabel, IsTwentyFourCharactersInReverseDnsForm) {
    EXPECT_EQ(Metrics::wardenLabel.size(), 24U);
    EXPECT_EQ(Metrics::wardenLabel, kLabel);
    EXPECT_EQ(Metrics::wardenLabel.find_first_not_of("abcdefghijklmnopqrstuvwxyz."),
              std::string_view::npos);
}

} // namespace
} // namespace korvel
