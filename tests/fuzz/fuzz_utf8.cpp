#include <algorithm>
#include <string>

#include "base/json_writer.h"
#include "base/utf8.h"
#include "fuzz/fuzz.h"

// Decoded bytes are well-formed, stay as they are when they were, and make a JSON string of
// printable bytes.
void fuzz(std::string_view bytes) {
    const std::string text = korvel::decodeUtf8Lossy(bytes);
    require(korvel::isUtf8(text), "well-formed once decoded");
    require(korvel::isUtf8(bytes) == (text == bytes), "changed only where it was ill-formed");
    korvel::JsonWriter json;
    json.value(bytes);
    require(std::all_of(json.text().begin(), json.text().end(),
                        [](char c) { return static_cast<unsigned char>(c) >= 0x20; }),
            "no control character in JSON");
}
