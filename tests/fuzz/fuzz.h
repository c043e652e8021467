#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

/// One input of the fuzzer: each fuzz_*.cpp has one. It returns when every rule held.
void fuzz(std::string_view bytes);

/// Ends the program with the words of the rule unless it `holds`; the fuzzer keeps the input.
inline void require(bool holds, const char* rule) {
    if (!holds) {
        std::fputs("broken rule: ", stderr);
        std::fputs(rule, stderr);
        std::fputs("\n", stderr);
        std::abort();
    }
}
