#pragma once

#include "base/result.h"

namespace korvel::simulation {

/// What can be wrong with a scenario. An error's subject is the value that is wrong, by the keys
/// and indices that lead to it, such as machine.vm.free_count or events[2].at; "" is the whole
/// scenario.
enum class ScenarioFault {
    unreadable, ///< the file, which is the subject
    notJson,    ///< the detail is the parser's
    unknownKey,
    missing,
    givenTwice,
    notANumber,
    notAFlag, ///< neither true nor false
    notAText,
    notAWholeNumber, ///< or not one within the bounds, which are the detail: "0 to 7"
    notAnObject,
    notAnArray,
    otherLength, ///< an array; the detail is how many elements it must have
    negative,
    notASetting,   ///< neither number, text nor flag
    unknownAction, ///< the detail is what is asked for
    secondForm,    ///< of one event
    withoutForm,   ///< an event that does nothing
    beforeTheLast, ///< an event that is earlier than the one that stands before it
};

} // namespace korvel::simulation
