#pragma once

#include <ostream>

#include "update/updater_state.h"

// For the messages of a failed test.
namespace korvel::update_state {

inline void PrintTo(const Available& state, std::ostream* stream) {
    *stream << "available: " << state.version;
}

inline void PrintTo(const Downloading& state, std::ostream* stream) {
    *stream << "downloading: " << state.progress;
}

inline void PrintTo(const Failed& state, std::ostream* stream) {
    *stream << "failed: " << state.message;
}

} // namespace korvel::update_state
