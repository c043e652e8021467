#pragma once

namespace korvel {

/// Makes the views known to Qt: their types, and what the build has compiled of them ahead. Comes
/// before the first engine; more than once does no harm.
void registerViews();

/// Has Qt forget the types of all views; there must be no engine. With each engine it registers
/// them again, and without this keeps what it registered before: 57 KiB each time.
void forgetViews();

} // namespace korvel
