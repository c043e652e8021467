#include "platform/macos/macos_machine.h"

#include <limits>

#include "platform/macos/cases.h"

namespace korvel::standin {
namespace {

using platform::CpuTicks;
using platform::MacosMachine;

/// user, system, idle, nice
using Counters = std::array<std::uint32_t, 4>;

int nominal() {
    return 0;
}

void tenProcessors() {
    script->sysctls = {{"6.3", 0, std::string("\n\0\0\0", 4), 4}};
}

/// The machine's answer when the kernel counts this much.
Counters read(MacosMachine& machine, const Counters& kernel) {
    script->cpuWords = kernel;
    const std::optional<CpuTicks> ticks = machine.read()->cpuTicks();
    EXPECT(ticks.has_value());
    return ticks ? Counters{ticks->user, ticks->system, ticks->idle, ticks->nice} : Counters();
}

void ticksAreAskedForWithCount4() {
    MacosMachine machine(nominal);
    read(machine, {1, 2, 3, 4});
    EXPECT_EQUAL(script->calls, {"mach_host_self", "host_statistics flavor 3 count 4",
                                 "sysctl 6.3 size 4", "mach_port_deallocate"});
}

void ticksAreTheKernelsToTheLastOne() {
    tenProcessors();
    MacosMachine machine(nominal);
    EXPECT_EQUAL(read(machine, {500, 600, 7000, 80}), {0, 0, 0, 0});
    EXPECT_EQUAL(read(machine, {501, 603, 7007, 80}), {1, 3, 7, 0});
    EXPECT_EQUAL(read(machine, {1501, 603, 7008, 89}), {1001, 3, 8, 9});
}

void ticksOfAFailureAreNoReadingAndForgetNothing() {
    MacosMachine machine(nominal);
    read(machine, {10, 10, 10, 10});
    script->cpuResult = 5; // KERN_FAILURE
    EXPECT(!machine.read()->cpuTicks());
    script->cpuResult = 0;
    EXPECT_EQUAL(read(machine, {11, 12, 13, 14}), {1, 2, 3, 4});
}

void ticksOfAShortAnswerAreNoReading() {
    script->cpuCountOut = 3;
    EXPECT(!MacosMachine(nominal).read()->cpuTicks());
}

void ticksGiveTheHostRightBackOnSuccess() {
    MacosMachine machine(nominal);
    read(machine, {1, 2, 3, 4});
    read(machine, {2, 3, 4, 5});
    EXPECT_EQUAL(script->hostRights, 0);
}

void ticksGiveTheHostRightBackOnFailure() {
    script->cpuResult = 5;
    EXPECT(!MacosMachine(nominal).read()->cpuTicks());
    EXPECT_EQUAL(script->calls,
                 {"mach_host_self", "host_statistics flavor 3 count 4", "mach_port_deallocate"});
    EXPECT_EQUAL(script->hostRights, 0);
}

void aCounterThatWrapsGoesOn() {
    constexpr std::uint32_t kLast = std::numeric_limits<std::uint32_t>::max();
    tenProcessors();
    MacosMachine machine(nominal);
    read(machine, {0, 0, kLast - 99, 0});
    EXPECT_EQUAL(read(machine, {10, 0, kLast, 0}), {10, 0, 99, 0});
    EXPECT_EQUAL(read(machine, {20, 0, 400, 0}), {20, 0, 500, 0});
}

void aCounterThatStepsBackIsHeld() {
    tenProcessors();
    MacosMachine machine(nominal);
    read(machine, {0, 0, 1000, 0});
    EXPECT_EQUAL(read(machine, {10, 0, 1100, 0}), {10, 0, 100, 0});
    EXPECT_EQUAL(read(machine, {20, 0, 1095, 0}), {20, 0, 100, 0});
    EXPECT_EQUAL(read(machine, {30, 0, 1102, 0}), {30, 0, 102, 0});
}

void aStepBackAcrossTheEndIsHeld() {
    constexpr std::uint32_t kLast = std::numeric_limits<std::uint32_t>::max();
    tenProcessors();
    MacosMachine machine(nominal);
    read(machine, {0, 0, kLast - 9, 0});
    EXPECT_EQUAL(read(machine, {0, 0, 4, 0}), {0, 0, 14, 0});
    EXPECT_EQUAL(read(machine, {0, 0, kLast, 0}), {0, 0, 14, 0});
    EXPECT_EQUAL(read(machine, {0, 0, 5, 0}), {0, 0, 15, 0});
}

void noCounterFallsInThreeYearsOfTenProcessors() {
    constexpr std::uint64_t kHour = std::uint64_t{3600} * 100 * 10; // ticks
    tenProcessors();
    MacosMachine machine(nominal);
    Counters before{};
    for (std::uint64_t hour = 0; hour <= std::uint64_t{3} * 365 * 24; ++hour) {
        const std::uint64_t busy = hour * kHour / 4;
        const Counters now = read(machine, {static_cast<std::uint32_t>(busy), 7,
                                            static_cast<std::uint32_t>(busy * 3), 0});
        if (now[0] < before[0] || now[2] < before[2] || (hour > 0 && now[0] == before[0])) {
            fail("in hour " + std::to_string(hour));
            return;
        }
        // A quarter busy, but for what the divisions carry over.
        const double step = now[0] - before[0];
        const double idle = now[2] - before[2];
        if (hour > 0 && (idle < step * 3 - 3 || idle > step * 3 + 3)) {
            fail("the share in hour " + std::to_string(hour));
            return;
        }
        before = now;
        script->calls.clear();
    }
}

#define CASE(name)                                                                                 \
    Case {                                                                                         \
#name, name                                                                                \
    }

constexpr Case kCases[] = {
    CASE(ticksAreAskedForWithCount4),
    CASE(ticksAreTheKernelsToTheLastOne),
    CASE(ticksOfAFailureAreNoReadingAndForgetNothing),
    CASE(ticksOfAShortAnswerAreNoReading),
    CASE(ticksGiveTheHostRightBackOnSuccess),
    CASE(ticksGiveTheHostRightBackOnFailure),
    CASE(aCounterThatWrapsGoesOn),
    CASE(aCounterThatStepsBackIsHeld),
    CASE(aStepBackAcrossTheEndIsHeld),
    CASE(noCounterFallsInThreeYearsOfTenProcessors),
};

} // namespace

Cases tickCases() {
    return {kCases, std::size(kCases)};
}

} // namespace korvel::standin
