#include "ui/content/paintable.h"

#include <gtest/gtest.h>

namespace korvel {
namespace {

TEST(Paintable, ReplacesWhatCannotStandOnOneLine) {
    const struct {
        const char* what;
        std::string text;
        std::string painted;
    } rows[] = {
        {"empty", "", ""},
        {"plain", "firefox", "firefox"},
        {"markup", "<b>x</b> &amp; %s", "<b>x</b> &amp; %s"},
        {"newline and tab", "a\nb\tc", "a\uFFFDb\uFFFDc"},
        {"zero byte", std::string("a\0b", 3), "a\uFFFDb"},
        {"delete", "a\x7f", "a\uFFFD"},
        {"escape sequence", "\x1b[31mred", "\uFFFD[31mred"},
        {"second control block", "a\u0085b\u009Fc", "a\uFFFDb\uFFFDc"},
        {"no-break space is no control", "a\u00A0b", "a\u00A0b"},
        {"line and paragraph separators", "a\u2028b\u2029c", "a\uFFFDb\uFFFDc"},
        {"direction override", "\u202Eabc\u202C", "\uFFFDabc\uFFFD"},
        {"direction isolates", "\u2066a\u2069", "\uFFFDa\uFFFD"},
        {"their neighbours stay", "\u2027\u202F\u2065\u206A", "\u2027\u202F\u2065\u206A"},
        {"those that end as they do stay", "\u3028\u3066", "\u3028\u3066"},
        {"right to left", "שלום", "שלום"},
        {"combining", "e\u0301\u0323", "e\u0301\u0323"},
        {"joined emoji", "👩\u200D💻", "👩\u200D💻"},
        {"cut sequence", "a\xe2\x80", "a\xe2\x80"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(paintable(row.text), row.painted) << row.what;
    }
}

} // namespace
} // namespace korvel
