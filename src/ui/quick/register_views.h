#pragma once

namespace korvel {

/// Makes the views known to Qt: their types, and what the build has compiled of them ahead. Comes
/// before the first engine; more than once does no harm.
void registerViews();

} // namespace korvel
