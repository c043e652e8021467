#include "report/printable.h"

#include <algorithm>

#include "base/utf8.h"

namespace korvel {

std::string printable(std::string_view text) {
    std::string safe;
    while (!text.empty()) {
        const std::size_t control = leadingControl(text);
        safe += control > 0 ? '?' : text.front();
        text.remove_prefix(std::max<std::size_t>(control, 1));
    }
    return safe;
}

} // namespace korvel
