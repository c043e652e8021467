#include "ui/content/paintable.h"

#include <cstddef>

#include "base/utf8.h"

namespace korvel {

namespace {

unsigned char byteAt(std::string_view text, std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
}

/// The length of the unpaintable character at `i`; 0 when it is paintable.
std::size_t unpaintableAt(std::string_view text, std::size_t i) {
    if (const std::size_t control = leadingControl(text.substr(i)); control > 0) {
        return control;
    }
    const unsigned first = byteAt(text, i);
    const unsigned second = byteAt(text, i + 1);
    const unsigned third = byteAt(text, i + 2);
    if (first == 0xe2 && second == 0x80 && third >= 0xa8 && third <= 0xae) { // U+2028 to U+202E
        return 3;
    }
    if (first == 0xe2 && second == 0x81 && third >= 0xa6 && third <= 0xa9) { // U+2066 to U+2069
        return 3;
    }
    return 0;
}

} // namespace

std::string paintable(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        if (const std::size_t length = unpaintableAt(text, i); length > 0) {
            result += "\uFFFD";
            i += length;
        } else {
            result += text[i++];
        }
    }
    return result;
}

} // namespace korvel
