#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/linux/bundle_manifest.h"

// What is read is what is written, byte for byte, and never has a fault.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto manifest = korvel::platform::readManifest(text);
    if (manifest && (korvel::platform::writeManifest(*manifest) != text || manifest->build < 1 ||
                     !korvel::platform::treeFault(manifest->entries).empty())) {
        std::abort();
    }
    return 0;
}
