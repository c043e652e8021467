#include "platform/macos/native/foundation/utf16.h"

#include <cstddef>
#include <cstdint>

namespace korvel::objc {

namespace {

constexpr uint32_t kPairs = 0x10000; ///< the first code point of two units
constexpr uint32_t kHigh = 0xD800;
constexpr uint32_t kLow = 0xDC00;

void append(std::string& utf8, uint32_t codePoint) {
    constexpr uint32_t kLimits[] = {0x80, 0x800, kPairs};
    constexpr uint32_t kLeads[] = {0, 0xC0, 0xE0, 0xF0};
    unsigned following = 0;
    while (following < 3 && codePoint >= kLimits[following]) {
        ++following;
    }
    utf8 += static_cast<char>(kLeads[following] | codePoint >> (6 * following));
    while (following-- > 0) {
        utf8 += static_cast<char>(0x80U | (codePoint >> (6 * following) & 0x3FU));
    }
}

} // namespace

std::u16string toUtf16(std::string_view utf8) {
    std::u16string units;
    for (std::size_t at = 0; at < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[at]);
        const unsigned length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        uint32_t codePoint = length == 1 ? lead : lead & (0xFFU >> (length + 1));
        for (unsigned i = 1; i < length; ++i) {
            codePoint = codePoint << 6 | (static_cast<unsigned char>(utf8[at + i]) & 0x3FU);
        }
        at += length;
        if (codePoint >= kPairs) {
            units += static_cast<char16_t>(kHigh + ((codePoint - kPairs) >> 10));
            codePoint = kLow + ((codePoint - kPairs) & 0x3FFU);
        }
        units += static_cast<char16_t>(codePoint);
    }
    return units;
}

std::string toUtf8(std::u16string_view units) {
    std::string utf8;
    for (std::size_t at = 0; at < units.size(); ++at) {
        uint32_t codePoint = units[at];
        if (codePoint >= kHigh && codePoint < kLow && at + 1 < units.size()) {
            codePoint = kPairs + ((codePoint - kHigh) << 10) + (units[++at] - kLow);
        }
        append(utf8, codePoint);
    }
    return utf8;
}

} // namespace korvel::objc
