#include "platform/macos/type_encoding.h"

#include <cstddef>

namespace korvel::platform {

namespace {

constexpr std::size_t kEnd = std::string_view::npos;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Where what opens at `start` is closed again; the text's end when it is not.
std::size_t afterBrackets(std::string_view text, std::size_t start) {
    std::size_t depth = 0;
    for (std::size_t i = start; i < text.size(); ++i) {
        switch (text[i]) {
        case '{':
        case '(':
        case '[':
        case '<':
            ++depth;
            break;
        case '}':
        case ')':
        case ']':
        case '>':
            if (--depth == 0) {
                return i + 1;
            }
            break;
        default:
            break;
        }
    }
    return text.size();
}

/// Where the type that begins at `start` ends.
std::size_t afterType(std::string_view text, std::size_t start) {
    // Of what const, in, out, bycopy, oneway and the like put before a type, and of pointers.
    std::size_t i = text.find_first_not_of("rnNoORVAj^", start);
    if (i == kEnd) {
        return text.size();
    }
    switch (text[i]) {
    case '{':
    case '(':
    case '[':
        return afterBrackets(text, i);
    case 'b': // a bit field, with its width
        for (++i; i < text.size() && isDigit(text[i]); ++i) {
        }
        return i;
    case '@':
        ++i;
        if (i < text.size() && text[i] == '?') { // a block, and perhaps its own encoding
            ++i;
            return i < text.size() && text[i] == '<' ? afterBrackets(text, i) : i;
        }
        if (i < text.size() && text[i] == '"') { // a class by name
            const std::size_t quote = text.find('"', i + 1);
            return quote == kEnd ? text.size() : quote + 1;
        }
        return i;
    default:
        return i + 1;
    }
}

} // namespace

std::string withoutOffsets(std::string_view encoding) {
    std::string types;
    std::size_t i = 0;
    while (i < encoding.size()) {
        const std::size_t end = afterType(encoding, i);
        types += encoding.substr(i, end - i);
        i = end;
        while (i < encoding.size() &&
               (isDigit(encoding[i]) || encoding[i] == '-' || encoding[i] == '+')) {
            ++i;
        }
    }
    return types;
}

} // namespace korvel::platform
