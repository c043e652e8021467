#include <string>
#include <vector>

#include "fuzz/fuzz.h"
#include "update/whats_new.h"

// Any text gives at most three lines of it, trimmed, in its order.
void fuzz(std::string_view text) {
    const std::vector<std::string> lines = korvel::WhatsNew::bullets(text);
    require(lines.size() <= 3, "at most three lines");
    std::string_view rest = text;
    for (const std::string& line : lines) {
        require(!line.empty(), "no line is empty");
        constexpr std::string_view kTrimmed = " \t\n\v\f\r-*";
        require(kTrimmed.find(line.front()) == std::string_view::npos &&
                    kTrimmed.find(line.back()) == std::string_view::npos,
                "trimmed at both ends");
        require(line.find('\n') == std::string::npos && line.find("•") == std::string::npos,
                "nothing that separates lines is left in one");
        require(korvel::WhatsNew::bullets(line) == std::vector<std::string>{line},
                "a line of its own is that line");
        const std::size_t at = rest.find(line);
        require(at != std::string_view::npos, "each stands in the text, after the one before");
        rest.remove_prefix(at + line.size());
    }
}
