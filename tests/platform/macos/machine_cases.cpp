#include "platform/macos/macos_machine.h"

#include <array>
#include <cstring>

#include "platform/macos/cases.h"

namespace korvel::standin {
namespace {

using platform::MacosMachine;

int nominal() {
    return 0;
}

/// The bytes of a value of the system's, as it lies in memory.
template <typename Value>
std::string bytesOf(const Value& value) {
    std::string bytes(sizeof(value), '\0');
    std::memcpy(bytes.data(), &value, sizeof(value));
    return bytes;
}

/// A page count in each word that is read, by the word's place in the kernel's record.
void fillVmWords() {
    script->vmWords.fill(0xEEEEEEEE);
    script->vmWords[0] = 1001;  // free
    script->vmWords[1] = 1002;  // active
    script->vmWords[2] = 1003;  // inactive
    script->vmWords[3] = 1004;  // wire
    script->vmWords[22] = 1005; // purgeable
    script->vmWords[23] = 1006; // speculative
    script->vmWords[30] = 1007; // swapouts, low half
    script->vmWords[31] = 3;    // and high
    script->vmWords[32] = 1008; // compressor
}

Calls vmCalls() {
    return {"mach_host_self", "host_statistics64 flavor 4 count 62", "mach_port_deallocate"};
}

void memoryHasRoomFor248BytesCount62() {
    fillVmWords();
    MacosMachine machine(nominal);
    EXPECT(machine.read()->vmStatistics().has_value());
    EXPECT_EQUAL(script->calls, vmCalls());
}

void memoryPagesAreReadFromTheirPlaces() {
    fillVmWords();
    const auto read = MacosMachine(nominal).read()->vmStatistics();
    EXPECT(read.has_value());
    const auto pages = read.value_or(platform::VmStatistics());
    EXPECT_EQUAL(pages.free_count, 1001U);
    EXPECT_EQUAL(pages.active_count, 1002U);
    EXPECT_EQUAL(pages.inactive_count, 1003U);
    EXPECT_EQUAL(pages.wire_count, 1004U);
    EXPECT_EQUAL(pages.purgeable_count, 1005U);
    EXPECT_EQUAL(pages.speculative_count, 1006U);
    EXPECT_EQUAL(pages.swapouts, (std::uint64_t{3} << 32) + 1007);
    EXPECT_EQUAL(pages.compressor_page_count, 1008U);
}

void memoryCountOut38IsAccepted() {
    fillVmWords();
    script->vmCountOut = 38;
    const auto pages = MacosMachine(nominal).read()->vmStatistics();
    EXPECT(pages && pages->compressor_page_count == 1008);
    EXPECT_EQUAL(script->hostRights, 0);
}

void memoryCountOut37IsRefused() {
    fillVmWords();
    script->vmCountOut = 37;
    EXPECT(!MacosMachine(nominal).read()->vmStatistics());
    EXPECT_EQUAL(script->calls, vmCalls());
    EXPECT_EQUAL(script->hostRights, 0);
}

void memoryFailureIsNoReading() {
    fillVmWords();
    script->vmResult = 5; // KERN_FAILURE
    EXPECT(!MacosMachine(nominal).read()->vmStatistics());
}

void memoryGivesTheHostRightBackOnSuccess() {
    MacosMachine machine(nominal);
    for (int i = 0; i < 3; ++i) {
        EXPECT(machine.read()->vmStatistics().has_value());
        EXPECT_EQUAL(script->hostRights, 0);
    }
}

void memoryGivesTheHostRightBackOnFailure() {
    script->vmResult = 5;
    EXPECT(!MacosMachine(nominal).read()->vmStatistics());
    EXPECT_EQUAL(script->calls, vmCalls());
    EXPECT_EQUAL(script->hostRights, 0);
}

void aReadingMakesNoCallBeforeItIsAsked() {
    MacosMachine machine(nominal);
    const auto reading = machine.read();
    EXPECT_EQUAL(script->calls, Calls());
}

void aReadingMakesItsCallsEachTimeItIsAsked() {
    MacosMachine machine(nominal);
    const auto reading = machine.read();
    EXPECT(reading->vmStatistics() && reading->vmStatistics());
    Calls twice = vmCalls();
    for (const std::string& call : vmCalls()) {
        twice.push_back(call);
    }
    EXPECT_EQUAL(script->calls, twice);
}

void pageSizeIsTheKernels() {
    EXPECT_EQUAL(MacosMachine(nominal).read()->pageSize(), 16384U);
    EXPECT_EQUAL(script->calls, Calls());
}

void physicalMemoryIsHwMemsize() {
    const std::uint64_t memory = std::uint64_t{24} << 30;
    script->sysctls.push_back({"6.24", 0, bytesOf(memory), 8});
    EXPECT_EQUAL(MacosMachine(nominal).read()->physicalMemory(), memory);
    EXPECT_EQUAL(script->calls, {"sysctl 6.24 size 8"});
}

void physicalMemoryThatFailsIsNoReading() {
    EXPECT(!MacosMachine(nominal).read()->physicalMemory());
}

void physicalMemoryOfAnotherSizeIsNoReading() {
    script->sysctls.push_back({"6.24", 0, bytesOf(std::uint32_t{1} << 30), 4});
    EXPECT(!MacosMachine(nominal).read()->physicalMemory());
}

void processorCountIsHwNcpu() {
    script->sysctls.push_back({"6.3", 0, bytesOf(10), 4});
    EXPECT_EQUAL(MacosMachine(nominal).read()->processorCount(), 10);
    EXPECT_EQUAL(script->calls, {"sysctl 6.3 size 4"});
}

void processorCountThatFailsIsNoReading() {
    EXPECT(!MacosMachine(nominal).read()->processorCount());
}

void processorCountBelowOneIsNoReading() {
    script->sysctls.push_back({"6.3", 0, bytesOf(0), 4});
    EXPECT(!MacosMachine(nominal).read()->processorCount());
}

void thermalStateIsHandedOnAsItComes() {
    EXPECT_EQUAL(MacosMachine([] { return 3; }).read()->thermalState(), 3);
    EXPECT_EQUAL(MacosMachine([] { return 17; }).read()->thermalState(), 17);
    EXPECT_EQUAL(script->calls, Calls());
}

void pressureLevelIsReadByName() {
    for (const std::int32_t level : {1, 2, 4, 77, -1}) {
        script->calls.clear();
        script->sysctls = {{"kern.memorystatus_vm_pressure_level", 0, bytesOf(level), 4}};
        EXPECT_EQUAL(MacosMachine(nominal).read()->memoryPressureLevel(), level);
        EXPECT_EQUAL(script->calls, {"sysctlbyname kern.memorystatus_vm_pressure_level size 4"});
    }
}

void pressureLevelThatFailsIsNoReading() {
    EXPECT(!MacosMachine(nominal).read()->memoryPressureLevel());
}

void pressureLevelOfAnotherSizeIsNoReading() {
    script->sysctls = {{"kern.memorystatus_vm_pressure_level", 0, bytesOf(2), 8}};
    EXPECT(!MacosMachine(nominal).read()->memoryPressureLevel());
}

constexpr std::array<std::uint64_t, 4> kSwap{4096, 1024, 3072, 16384};

void swapUsageIsReadFromItsPlaces() {
    script->sysctls = {{"vm.swapusage", 0, bytesOf(kSwap), 32}};
    const auto usage = MacosMachine(nominal).read()->swapUsage();
    EXPECT(usage.has_value());
    EXPECT_EQUAL(usage ? usage->xsu_total : 0, 4096U);
    EXPECT_EQUAL(usage ? usage->xsu_avail : 0, 1024U);
    EXPECT_EQUAL(usage ? usage->xsu_used : 0, 3072U);
    EXPECT_EQUAL(script->calls, {"sysctlbyname vm.swapusage size 32"});
}

void swapUsageThatFailsIsNoReading() {
    EXPECT(!MacosMachine(nominal).read()->swapUsage());
}

void swapUsageOfAnotherSizeIsNoReading() {
    script->sysctls = {{"vm.swapusage", 0, bytesOf(kSwap), 24}};
    EXPECT(!MacosMachine(nominal).read()->swapUsage());
}

void volumeIsTheDataVolume() {
    script->volume = {4096, std::uint64_t{1} << 40, 2000, 1000};
    const auto volume = MacosMachine(nominal).read()->dataVolume();
    EXPECT(volume.has_value());
    EXPECT_EQUAL(volume ? volume->f_bsize : 0, 4096U);
    EXPECT_EQUAL(volume ? volume->f_blocks : 0, std::uint64_t{1} << 40);
    EXPECT_EQUAL(volume ? volume->f_bfree : 0, 2000U);
    EXPECT_EQUAL(volume ? volume->f_bavail : 0, 1000U);
    EXPECT_EQUAL(script->calls, {"statfs /System/Volumes/Data"});
}

void volumeThatFailsIsNoReading() {
    script->statfsResult = -1;
    EXPECT(!MacosMachine(nominal).read()->dataVolume());
}

void loadIsAskedForThreeAverages() {
    script->load = {1.5, 2.25, 3.125};
    EXPECT_EQUAL(MacosMachine(nominal).read()->loadAverages(),
                 std::array<double, 3>{1.5, 2.25, 3.125});
    EXPECT_EQUAL(script->calls, {"getloadavg 3"});
}

void loadThatFailsIsNoReading() {
    EXPECT(!MacosMachine(nominal).read()->loadAverages());
}

void loadKeepsWhatAShortAnswerGave() {
    script->load = {1.5};
    EXPECT_EQUAL(MacosMachine(nominal).read()->loadAverages(), std::array<double, 3>{1.5, 0, 0});
}

constexpr std::array<std::int64_t, 2> kBoot{1700000000, 999999};

void bootTimeIsTheWholeSeconds() {
    script->sysctls = {{"1.21", 0, bytesOf(kBoot), 16}};
    EXPECT_EQUAL(MacosMachine(nominal).read()->bootTime(), 1700000000);
    EXPECT_EQUAL(script->calls, {"sysctl 1.21 size 16"});
}

void bootTimeThatFailsIsNoReading() {
    EXPECT(!MacosMachine(nominal).read()->bootTime());
}

void bootTimeOfAnotherSizeIsNoReading() {
    script->sysctls = {{"1.21", 0, bytesOf(kBoot), 8}};
    EXPECT(!MacosMachine(nominal).read()->bootTime());
}

#define CASE(name)                                                                                 \
    Case {                                                                                         \
#name, name                                                                                \
    }

constexpr Case kCases[] = {
    CASE(memoryHasRoomFor248BytesCount62),
    CASE(memoryPagesAreReadFromTheirPlaces),
    CASE(memoryCountOut38IsAccepted),
    CASE(memoryCountOut37IsRefused),
    CASE(memoryFailureIsNoReading),
    CASE(memoryGivesTheHostRightBackOnSuccess),
    CASE(memoryGivesTheHostRightBackOnFailure),
    CASE(aReadingMakesNoCallBeforeItIsAsked),
    CASE(aReadingMakesItsCallsEachTimeItIsAsked),
    CASE(pageSizeIsTheKernels),
    CASE(physicalMemoryIsHwMemsize),
    CASE(physicalMemoryThatFailsIsNoReading),
    CASE(physicalMemoryOfAnotherSizeIsNoReading),
    CASE(processorCountIsHwNcpu),
    CASE(processorCountThatFailsIsNoReading),
    CASE(processorCountBelowOneIsNoReading),
    CASE(thermalStateIsHandedOnAsItComes),
    CASE(pressureLevelIsReadByName),
    CASE(pressureLevelThatFailsIsNoReading),
    CASE(pressureLevelOfAnotherSizeIsNoReading),
    CASE(swapUsageIsReadFromItsPlaces),
    CASE(swapUsageThatFailsIsNoReading),
    CASE(swapUsageOfAnotherSizeIsNoReading),
    CASE(volumeIsTheDataVolume),
    CASE(volumeThatFailsIsNoReading),
    CASE(loadIsAskedForThreeAverages),
    CASE(loadThatFailsIsNoReading),
    CASE(loadKeepsWhatAShortAnswerGave),
    CASE(bootTimeIsTheWholeSeconds),
    CASE(bootTimeThatFailsIsNoReading),
    CASE(bootTimeOfAnotherSizeIsNoReading),
};

} // namespace

Cases machineCases() {
    return {kCases, std::size(kCases)};
}

} // namespace korvel::standin
