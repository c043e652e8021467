#pragma once

#include <string>
#include <vector>

#include "platform/macos/scripted_calls.h"

namespace korvel::standin {

/// One named case. Tables and not objects that register themselves: nothing runs constructors
/// before main here.
struct Case {
    const char* name;
    void (*run)();
};

struct Cases {
    const Case* first;
    int count;
};

Cases machineCases();
Cases tickCases();
Cases processCases();
Cases powerCases();
Cases digestCases();
Cases samplerCases();

/// What does not hold, a sentence each; the case has failed when there is one.
void fail(const std::string& what);

template <typename Value>
std::string shown(const Value& value) {
    if constexpr (std::is_same_v<Value, std::string>) {
        return '"' + value + '"';
    } else if constexpr (requires { value.begin(); }) {
        std::string all;
        for (const auto& element : value) {
            all += (all.empty() ? "" : ", ") + shown(element);
        }
        return "{" + all + "}";
    } else if constexpr (requires { value.has_value(); }) {
        return value ? shown(*value) : "none";
    } else {
        return std::to_string(value);
    }
}

#define EXPECT(condition)                                                                          \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            ::korvel::standin::fail(std::string("line ") + std::to_string(__LINE__) + ": " +       \
                                    #condition);                                                   \
        }                                                                                          \
    } while (false)

#define EXPECT_EQUAL(actual, ...)                                                                  \
    do {                                                                                           \
        const auto is = (actual);                                                                  \
        const decltype(is) wanted = __VA_ARGS__;                                                   \
        if (!(is == wanted)) {                                                                     \
            ::korvel::standin::fail(std::string("line ") + std::to_string(__LINE__) + ": " +       \
                                    #actual + " is " + ::korvel::standin::shown(is) + ", not " +   \
                                    ::korvel::standin::shown(wanted));                             \
        }                                                                                          \
    } while (false)

using Calls = std::vector<std::string>;

} // namespace korvel::standin
