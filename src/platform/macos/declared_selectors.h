#pragma once

#include <string>
#include <vector>

namespace korvel::platform {

/// What the Objective-C runtime says of a method that this program calls, or that it implements for
/// the system to call.
struct SelectorReport {
    enum class Kind { instanceMethod, classMethod, protocolMethod };
    enum class Answer {
        ok,
        classMissing, ///< or the protocol
        selectorMissing,
        encodingDiffers,
    };

    std::string className; ///< or the protocol's name
    std::string selector;
    Kind kind = Kind::instanceMethod;
    /// The types of result, receiver, selector and arguments, as the declarations that this program
    /// was compiled with have them, in the runtime's notation without the places on the stack.
    std::string declared;
    std::string found; ///< what the runtime has, in the same form; empty when there is none
    Answer answer = Answer::ok;
};

/// Asks the runtime about each class and selector of this layer. The frameworks are those that the
/// program is linked with; nothing of them is called.
std::vector<SelectorReport> askForDeclaredSelectors();

} // namespace korvel::platform
