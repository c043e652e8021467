#include <algorithm>
#include <cstdint>
#include <string>

#include <simdjson.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include "base/json_writer.h"
#include "base/utf8.h"
#include "fuzz/fuzz.h"

namespace {

/// ICU's reading of the bytes, each ill-formed part as U+FFFD.
struct Reading {
    std::string text;
    bool isWellFormed = true;
    bool hasControl = false;
};

Reading byIcu(std::string_view bytes) {
    Reading reading;
    const auto length = static_cast<std::int32_t>(bytes.size());
    for (std::int32_t at = 0; at < length;) {
        const std::int32_t start = at;
        UChar32 character = 0;
        U8_NEXT(bytes.data(), at, length, character); // NOLINT: a macro of the library's
        if (character < 0) {
            reading.isWellFormed = false;
            reading.text += "\xef\xbf\xbd";
        } else {
            reading.hasControl = reading.hasControl || u_charType(character) == U_CONTROL_CHAR;
            reading.text +=
                bytes.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(at - start));
        }
    }
    return reading;
}

/// What a reader of JSON makes of one string.
std::string readBack(const std::string& json) {
    static simdjson::dom::parser parser;
    std::string_view text;
    require(parser.parse(json).get(text) == simdjson::SUCCESS, "a string of JSON");
    return std::string(text);
}

} // namespace

// Bytes are decoded as ICU decodes them, stay as they are when they were well-formed, and make a
// JSON string of printable bytes that is read as the same text.
void fuzz(std::string_view bytes) {
    const Reading expected = byIcu(bytes);
    const std::string text = korvel::decodeUtf8Lossy(bytes);
    require(text == expected.text, "as ICU decodes it");
    require(korvel::isUtf8(bytes) == expected.isWellFormed, "well-formed where ICU finds it so");
    require(korvel::isPlainText(bytes) == (expected.isWellFormed && !expected.hasControl),
            "plain only where it is well-formed and without control characters");
    require(korvel::isUtf8(text), "well-formed once decoded");
    require(korvel::decodeUtf8Lossy(text) == text, "decoded once");
    bool controls = false;
    for (std::string_view rest = text; !rest.empty(); rest.remove_prefix(1)) {
        controls = controls || korvel::leadingControl(rest) > 0;
    }
    require(controls == expected.hasControl, "the control characters that Unicode has");
    korvel::JsonWriter json;
    json.value(bytes);
    require(std::all_of(json.text().begin(), json.text().end(),
                        [](char c) { return static_cast<unsigned char>(c) >= 0x20; }),
            "no control character in JSON");
    require(readBack(json.text()) == text, "read again as it was written");
}
