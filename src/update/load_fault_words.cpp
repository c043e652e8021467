#include "update/load_fault_words.h"

#include <fmt/format.h>

#include "base/fatal.h"

namespace korvel {

using platform::LoadFault;

namespace {

std::string reasonOf(const Error<LoadFault>& error) {
    switch (error.code) {
    case LoadFault::missing:
        return "it holds no program that can be read";
    case LoadFault::notAProgram:
        return "it holds no program for this system";
    case LoadFault::otherProcessor:
        return "it is made for another kind of processor";
    case LoadFault::systemTooOld:
        return fmt::format("it needs version {} of the system", error.detail);
    case LoadFault::notStartable:
        return "no program can be started from the disk that it is on";
    case LoadFault::interpreterMissing:
        return fmt::format("the system has no {}", error.subject);
    case LoadFault::libraryMissing:
        return fmt::format("the library {} is missing", error.subject);
    case LoadFault::libraryTooOld:
        return fmt::format("the library {} is too old, it lacks {}", error.subject, error.detail);
    case LoadFault::libraryUnfit:
        return fmt::format("the library {} cannot be used ({})", error.subject, error.detail);
    case LoadFault::pluginMissing:
        return fmt::format("it knows no displays of the kind {}", error.subject);
    case LoadFault::refused:
        return fmt::format("the system does not load it ({})", error.detail);
    case LoadFault::notTold:
        return "the system does not tell whether it can";
    }
    fatal();
}

} // namespace

std::string sentenceOf(const std::string& name, const Error<LoadFault>& error) {
    return fmt::format("“{}” can’t run here: {}.", name, reasonOf(error));
}

} // namespace korvel
