#include "fuzz/fuzz.h"
#include "platform/linux/update/bundle_manifest.h"

// What is read is what is written, byte for byte, and never has a fault.
void fuzz(std::string_view text) {
    const auto manifest = korvel::platform::readManifest(text);
    if (manifest) {
        require(*korvel::platform::writeManifest(*manifest) == text, "written as it was read");
        require(manifest->build >= 1, "a build of 1 or more");
        require(bool(korvel::platform::checkTree(manifest->entries)), "a tree without a fault");
    }
}
