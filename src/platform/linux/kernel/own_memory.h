#pragma once

namespace korvel::platform {

/// Hands memory that the program does not need now back to the system: free heap, and the code and
/// constants of libraries, which come back from the files when they are used again. For after work
/// that is not soon repeated; it costs some milliseconds and page faults later.
void giveMemoryBack();

} // namespace korvel::platform
