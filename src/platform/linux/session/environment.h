#pragma once

namespace korvel::platform {

/// Sets the environment variables that Qt and the D-Bus library read. To be called before the
/// application object is made.
///
/// A desktop's own theme plugin would load its whole toolkit (tens of megabytes) for fonts and
/// dialogs that this program has no use for: it stays out unless the environment asks for it. A
/// session without a bus stays one: left to itself, the D-Bus library would start a bus here.
void prepareEnvironment();

} // namespace korvel::platform
