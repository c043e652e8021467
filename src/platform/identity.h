#pragma once

namespace korvel::platform {

/// What the program is to the systems that it runs on: the identifier of its bundle, its name on
/// the session bus, and that of its icon and desktop entry.
inline constexpr const char* kBundleIdentifier = "com.oxbrook.korvel";

/// The team that signs the program, and so every update.
inline constexpr const char* kTeamIdentifier = "7QX4D1K9WB";

} // namespace korvel::platform
