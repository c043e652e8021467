#include <cstring>

#include <unistd.h>

#include "platform/macos/cases.h"

namespace korvel::standin {
namespace {

constexpr Cases (*kTables[])() = {machineCases, tickCases,   processCases,
                                  powerCases,   digestCases, samplerCases};

int failures = 0;

void print(const std::string& line) {
    const std::string text = line + "\n";
    ::write(STDOUT_FILENO, text.data(), text.size());
}

/// False: there is none of this name.
bool run(const char* name) {
    for (const auto& table : kTables) {
        const Cases cases = table();
        for (int i = 0; i < cases.count; ++i) {
            if (std::strcmp(cases.first[i].name, name) == 0) {
                Script fresh;
                script = &fresh;
                cases.first[i].run();
                return true;
            }
        }
    }
    return false;
}

} // namespace

void fail(const std::string& what) {
    ++failures;
    print("  " + what);
}

} // namespace korvel::standin

/// Without an argument: the names of all cases. With one: runs that case, and says "held" at its
/// end, for a status can be had in other ways.
int main(int argc, char** argv) {
    using namespace korvel::standin;
    if (argc < 2) {
        for (const auto& table : kTables) {
            const Cases cases = table();
            for (int i = 0; i < cases.count; ++i) {
                print(cases.first[i].name);
            }
        }
        return 0;
    }
    if (!run(argv[1])) {
        fail("no such case");
    }
    if (failures == 0) {
        print("held");
    }
    return failures == 0 ? 0 : 1;
}
