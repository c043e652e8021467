#include "platform/macos/macos_power_assertions.h"

#include "platform/macos/cases.h"

namespace korvel::standin {
namespace {

using platform::MacosPowerAssertions;
using platform::PowerAssertionType;

constexpr const char* kReason = "Korvel keep awake";

void displayAssertionHasItsTypeLevelAndName() {
    const auto id = MacosPowerAssertions().create(PowerAssertionType::noDisplaySleep, kReason);
    EXPECT_EQUAL(id, 7U);
    EXPECT_EQUAL(script->assertions.size(), 1U);
    EXPECT_EQUAL(script->assertions[0].type, "NoDisplaySleepAssertion");
    EXPECT_EQUAL(script->assertions[0].level, 255U);
    EXPECT_EQUAL(script->assertions[0].name, "Korvel keep awake");
}

void systemAssertionHasItsTypeLevelAndName() {
    const auto id = MacosPowerAssertions().create(PowerAssertionType::noIdleSleep, kReason);
    EXPECT_EQUAL(id, 7U);
    EXPECT_EQUAL(script->assertions.size(), 1U);
    EXPECT_EQUAL(script->assertions[0].type, "NoIdleSleepAssertion");
    EXPECT_EQUAL(script->assertions[0].level, 255U);
    EXPECT_EQUAL(script->assertions[0].name, "Korvel keep awake");
}

void eachAssertionMayFailAlone() {
    struct Named {
        PowerAssertionType type;
        const char* name;
    };
    constexpr Named kTypes[] = {
        {PowerAssertionType::noDisplaySleep, "NoDisplaySleepAssertion"},
        {PowerAssertionType::noIdleSleep, "NoIdleSleepAssertion"},
    };
    MacosPowerAssertions power;
    for (const Named& refused : kTypes) {
        script->refusedTypes = {refused.name};
        for (const Named& asked : kTypes) {
            const bool granted = power.create(asked.type, kReason).has_value();
            EXPECT_EQUAL(granted, asked.type != refused.type);
        }
    }
    EXPECT_EQUAL(script->assertions.size(), 4U);
}

void theNullIdentifierIsNoAssertion() {
    script->nextAssertion = 0;
    EXPECT(!MacosPowerAssertions().create(PowerAssertionType::noIdleSleep, kReason));
}

void aNameThatIsNoTextIsRefused() {
    script->stringsFail = true;
    EXPECT(!MacosPowerAssertions().create(PowerAssertionType::noIdleSleep, "\xff"));
    EXPECT_EQUAL(script->calls, Calls());
}

void theNamesStringIsReleasedWhetherGrantedOrNot() {
    MacosPowerAssertions power;
    EXPECT(power.create(PowerAssertionType::noIdleSleep, kReason).has_value());
    EXPECT_EQUAL(script->strings, 0);
    script->refusedTypes = {"NoIdleSleepAssertion"};
    EXPECT(!power.create(PowerAssertionType::noIdleSleep, kReason));
    EXPECT_EQUAL(script->strings, 0);
    EXPECT_EQUAL(script->calls, {"IOPMAssertionCreateWithName NoIdleSleepAssertion",
                                 "IOPMAssertionCreateWithName NoIdleSleepAssertion"});
}

void releaseNamesTheAssertion() {
    MacosPowerAssertions().release(0x80001234);
    EXPECT_EQUAL(script->calls, {"IOPMAssertionRelease 2147488308"});
}

void releaseThatFailsIsSilent() {
    script->releaseResult = 0x2F0;
    MacosPowerAssertions().release(8);
    EXPECT_EQUAL(script->calls, {"IOPMAssertionRelease 8"});
}

#define CASE(name)                                                                                 \
    Case {                                                                                         \
#name, name                                                                                \
    }

constexpr Case kCases[] = {
    CASE(displayAssertionHasItsTypeLevelAndName),
    CASE(systemAssertionHasItsTypeLevelAndName),
    CASE(eachAssertionMayFailAlone),
    CASE(theNullIdentifierIsNoAssertion),
    CASE(aNameThatIsNoTextIsRefused),
    CASE(theNamesStringIsReleasedWhetherGrantedOrNot),
    CASE(releaseNamesTheAssertion),
    CASE(releaseThatFailsIsSilent),
};

} // namespace

Cases powerCases() {
    return {kCases, std::size(kCases)};
}

} // namespace korvel::standin
