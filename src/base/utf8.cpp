#include "base/utf8.h"

#include <algorithm>
#include <cstdint>

namespace korvel {

namespace {

struct Sequence {
    std::size_t length; ///< bytes of the character, or of the ill-formed part
    bool wellFormed;
};

/// The first sequence of a non-empty `bytes`: table 3-7 of the Unicode standard.
Sequence firstSequence(std::string_view bytes) {
    const auto at = [&](std::size_t i) { return static_cast<std::uint8_t>(bytes[i]); };
    const std::uint8_t lead = at(0);
    if (lead < 0x80) {
        return {1, true};
    }
    std::size_t length = 0;
    // The second byte's range rules out overlong forms, surrogates and what lies above U+10FFFF.
    std::uint8_t low = 0x80;
    std::uint8_t high = 0xbf;
    if (lead >= 0xc2 && lead <= 0xdf) {
        length = 2;
    } else if (lead >= 0xe0 && lead <= 0xef) {
        length = 3;
        low = lead == 0xe0 ? 0xa0 : low;
        high = lead == 0xed ? 0x9f : high;
    } else if (lead >= 0xf0 && lead <= 0xf4) {
        length = 4;
        low = lead == 0xf0 ? 0x90 : low;
        high = lead == 0xf4 ? 0x8f : high;
    } else {
        return {1, false};
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (i >= bytes.size() || at(i) < low || at(i) > high) {
            return {i, false};
        }
        low = 0x80;
        high = 0xbf;
    }
    return {length, true};
}

} // namespace

bool isUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const Sequence sequence = firstSequence(bytes);
        if (!sequence.wellFormed) {
            return false;
        }
        bytes.remove_prefix(sequence.length);
    }
    return true;
}

std::size_t leadingControl(std::string_view text) {
    const auto at = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    if (text.empty()) {
        return 0;
    }
    if (at(0) < 0x20 || at(0) == 0x7f) {
        return 1;
    }
    return text.size() > 1 && at(0) == 0xc2 && at(1) >= 0x80 && at(1) < 0xa0 ? 2 : 0;
}

bool isPlainText(std::string_view bytes) {
    while (!bytes.empty()) {
        const Sequence sequence = firstSequence(bytes);
        if (!sequence.wellFormed || leadingControl(bytes) > 0) {
            return false;
        }
        bytes.remove_prefix(sequence.length);
    }
    return true;
}

std::string decodeUtf8Lossy(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        // Nearly all text is ASCII; a run of it is copied at once.
        const auto plain = std::find_if(bytes.begin(), bytes.end(), [](char c) {
            return static_cast<std::uint8_t>(c) >= 0x80;
        });
        text.append(bytes.begin(), plain);
        bytes.remove_prefix(static_cast<std::size_t>(plain - bytes.begin()));
        if (bytes.empty()) {
            break;
        }
        const Sequence sequence = firstSequence(bytes);
        text += sequence.wellFormed ? bytes.substr(0, sequence.length) : "\xef\xbf\xbd";
        bytes.remove_prefix(sequence.length);
    }
    return text;
}

} // namespace korvel
