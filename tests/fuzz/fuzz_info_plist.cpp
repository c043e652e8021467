#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/linux/info_plist.h"

// Any bytes give strings or none, no more of them than the bytes can hold.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto strings = korvel::platform::infoPlistStrings(bytes);
    if (!strings) {
        return 0;
    }
    if (strings->size() > size) {
        std::abort();
    }
    std::size_t total = 0;
    for (const auto& [key, value] : *strings) {
        total += key.size() + value.size();
    }
    constexpr std::size_t kMost = std::size_t{3} << 20; // bytes of UTF-8 for 1 Mi characters
    if (total > kMost) {
        std::abort();
    }
    return 0;
}
