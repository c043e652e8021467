#include <cstddef>

#include "fuzz/fuzz.h"
#include "platform/linux/update/info_plist.h"

// Any bytes give strings or none, no more of them than the bytes can hold.
void fuzz(std::string_view bytes) {
    const auto strings = korvel::platform::infoPlistStrings(bytes);
    if (!strings) {
        return;
    }
    require(strings->size() <= bytes.size(), "no more strings than bytes");
    std::size_t total = 0;
    for (const auto& [key, value] : *strings) {
        total += key.size() + value.size();
    }
    constexpr std::size_t kMost = std::size_t{3} << 20; // bytes of UTF-8 for 1 Mi characters
    require(total <= kMost, "no more characters than a description may have");
}
