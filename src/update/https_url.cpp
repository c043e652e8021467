#include "update/https_url.h"

#include <algorithm>

namespace korvel {

namespace {

constexpr std::string_view kDigits = "0123456789";

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isHexDigit(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

} // namespace

bool isHttpsUrl(std::string_view text) {
    constexpr std::string_view kScheme = "https:";
    constexpr std::string_view kMarks = "-._~:/?#[]@!$&'()*+,;=%";
    if (!text.starts_with(kScheme)) {
        return false;
    }
    text.remove_prefix(kScheme.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        if (!isLetter && !isDigit(c) && kMarks.find(c) == std::string_view::npos) {
            return false;
        }
        if (c == '%' &&
            !(i + 2 < text.size() && isHexDigit(text[i + 1]) && isHexDigit(text[i + 2]))) {
            return false;
        }
    }
    if (std::count(text.begin(), text.end(), '#') > 1) {
        return false;
    }
    const std::size_t end = std::min(text.find_first_of("?#"), text.size());
    std::string_view path = text.substr(0, end);
    if (!path.starts_with("//")) {
        return text.find_first_of("[]") == std::string_view::npos;
    }
    path.remove_prefix(2);
    std::string_view host = path.substr(0, path.find('/'));
    if (text.substr(2 + host.size()).find_first_of("[]") != std::string_view::npos) {
        return false;
    }
    host.remove_prefix(host.find('@') == std::string_view::npos ? 0 : host.find('@') + 1);
    std::string_view rest = host;
    if (host.starts_with('[')) {
        const std::size_t close = host.find(']');
        constexpr std::string_view kAddress = "0123456789abcdefABCDEF:.v";
        if (close == std::string_view::npos || close == 1 ||
            host.substr(1, close - 1).find_first_not_of(kAddress) != std::string_view::npos) {
            return false;
        }
        rest = host.substr(close + 1);
        if (!rest.empty() && !rest.starts_with(':')) {
            return false;
        }
    }
    const std::size_t colon = rest.find(':');
    return rest.find_first_of("[]@") == std::string_view::npos &&
           (colon == std::string_view::npos ||
            rest.find_first_not_of(kDigits, colon + 1) == std::string_view::npos);
}

} // namespace korvel
