#include <cstddef>
#include <cstdint>

#include "fuzz/fuzz.h"

// NOLINTNEXTLINE(readability-identifier-naming): libFuzzer calls it by this name
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz(std::string_view(reinterpret_cast<const char*>(data), size));
    return 0;
}
