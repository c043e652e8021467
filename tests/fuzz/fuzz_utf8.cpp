#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/json_writer.h"
#include "core/utf8.h"

// Decoded bytes are well-formed, stay as they are when they were, and make a JSON string of
// printable bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::string text = korvel::decodeUtf8Lossy(bytes);
    if (!korvel::isUtf8(text) || korvel::isUtf8(bytes) != (text == bytes)) {
        std::abort();
    }
    korvel::JsonWriter json;
    json.value(bytes);
    for (const char c : json.text()) {
        if (static_cast<unsigned char>(c) < 0x20) {
            std::abort();
        }
    }
    return 0;
}
