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
    bool controls = false;
    for (std::string_view rest = text; !rest.empty(); rest.remove_prefix(1)) {
        controls = controls || korvel::leadingControl(rest) > 0;
    }
    require(korvel::isPlainText(text) == !controls, "plain but for its control characters");
    require(!korvel::isPlainText(bytes) || text == bytes, "plain only where it is well-formed");
    korvel::JsonWriter json;
    json.value(bytes);
    require(std::all_of(json.text().begin(), json.text().end(),
                        [](char c) { return static_cast<unsigned char>(c) >= 0x20; }),
            "no control character in JSON");
}
