#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/system_tools.h"

// Any summary gives a number that is not negative.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const double bytes = korvel::swappedOutInSummary(text);
    if (!(bytes >= 0)) {
        std::abort();
    }
    if (bytes > 0 && text.find("swapped_out=") == std::string_view::npos) {
        std::abort();
    }
    return 0;
}
