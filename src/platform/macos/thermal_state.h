#pragma once

namespace korvel::platform {

/// The machine's thermal state, as the system numbers it: 0 nominal, 1 fair, 2 serious, 3 critical.
int thermalState();

} // namespace korvel::platform
