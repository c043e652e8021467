#pragma once

namespace korvel::platform {

/// Whether so many threads can be started at once, by the limits of the user and of the group of
/// processes. None of those that were started to see it is left. For what would wait without end
/// for a thread that could not be started.
bool threadsAreToBeHad(int count);

} // namespace korvel::platform
