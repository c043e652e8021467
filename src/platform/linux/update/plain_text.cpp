#include "platform/linux/update/plain_text.h"

#include <cstdint>

namespace korvel::platform {

namespace {

/// How a lead byte goes on.
struct Sequence {
    std::size_t more; ///< bytes that follow
    char32_t bits;    ///< of the lead byte
    char32_t lowest;  ///< below which fewer bytes would have done
};

Sequence sequenceOf(unsigned char lead) {
    if (lead < 0x80) {
        return {0, lead, 0};
    }
    if (lead >= 0xc0 && lead < 0xe0) {
        return {1, lead & 0x1fU, 0x80};
    }
    if (lead >= 0xe0 && lead < 0xf0) {
        return {2, lead & 0x0fU, 0x800};
    }
    if (lead >= 0xf0 && lead < 0xf8) {
        return {3, lead & 0x07U, 0x10000};
    }
    return {SIZE_MAX, 0, 0}; // no lead byte: longer than any text
}

bool isControl(char32_t c) {
    return c < 0x20 || (c >= 0x7f && c < 0xa0);
}

} // namespace

bool isPlainText(std::string_view bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const Sequence sequence = sequenceOf(static_cast<unsigned char>(bytes[i]));
        if (sequence.more > bytes.size() - i - 1) {
            return false;
        }
        char32_t c = sequence.bits;
        for (std::size_t more = 0; more < sequence.more; ++more) {
            const auto byte = static_cast<unsigned char>(bytes[++i]);
            if ((byte & 0xc0U) != 0x80) {
                return false;
            }
            c = c << 6U | (byte & 0x3fU);
        }
        const bool surrogate = c >= 0xd800 && c < 0xe000;
        if (c < sequence.lowest || c > 0x10ffff || surrogate || isControl(c)) {
            return false;
        }
    }
    return true;
}

} // namespace korvel::platform
