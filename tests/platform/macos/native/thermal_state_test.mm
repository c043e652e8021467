#include "platform/macos/thermal_state.h"

#include <gtest/gtest.h>

#import "platform/macos/native/foundation/foundation.h"

TEST(ThermalState, IsNumberedAsTheSystemNumbersIt) {
    const struct {
        NSProcessInfoThermalState state;
        int number;
    } cases[] = {
        {NSProcessInfoThermalStateNominal, 0},
        {NSProcessInfoThermalStateFair, 1},
        {NSProcessInfoThermalStateSerious, 2},
        {NSProcessInfoThermalStateCritical, 3},
    };
    for (const auto& each : cases) {
        [NSProcessInfo setThermalState:each.state];
        EXPECT_EQ(korvel::platform::thermalState(), each.number);
    }
}
