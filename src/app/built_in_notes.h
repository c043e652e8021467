#pragma once

namespace korvel {

/// What the changelog says is new in this version, a line each; "" where it says nothing. It is
/// made with the build.
const char* builtInNotes();

} // namespace korvel
