#pragma once

#include <ostream>

#include "update/updater.h"

namespace korvel {

// For the messages of a failed test.
inline void PrintTo(const Updater::State& state, std::ostream* stream) {
    *stream << static_cast<int>(state.value) << " \"" << state.text << "\" " << state.progress;
}

} // namespace korvel
