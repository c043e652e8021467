#pragma once

namespace korvel::platform {

// The values of the thermal state, as macOS gives them.
inline constexpr int kNominalHeat = 0;
inline constexpr int kFairHeat = 1;
inline constexpr int kSeriousHeat = 2;
inline constexpr int kCriticalHeat = 3;

} // namespace korvel::platform
