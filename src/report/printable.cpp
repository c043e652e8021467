#include "report/printable.h"

namespace korvel {

std::string printable(std::string_view text) {
    std::string safe;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x20 || byte == 0x7f) {
            safe += '?';
        } else if (byte == 0xc2 && i + 1 < text.size() &&
                   static_cast<unsigned char>(text[i + 1]) < 0xa0) {
            safe += '?';
            ++i;
        } else {
            safe += text[i];
        }
    }
    return safe;
}

} // namespace korvel
