#include "ui/content/linux_words.h"

#include <string_view>
#include <utility>

namespace korvel {

namespace {

/// Where in a text a phrase may stand.
enum class Place {
    whole, ///< it is the whole text
    head,  ///< it begins the text, which ends with a whole number
    tail,  ///< it ends the text, or the bracket that ends it
};

struct Phrase {
    Place place;
    std::string_view mac;
    std::string_view linux;
};

constexpr std::string_view kWhereTheScoreIs =
    "Your score lives in the menu bar. Click it for the detail.";

constexpr Phrase kPhrases[] = {
    {Place::head, "Mac slowing down: score ", "Computer slowing down: score "},
    {Place::tail, " GB free to use · macOS is comfortable",
     " GB free to use · Linux is comfortable"},
    {Place::tail, " GB free to use · macOS is under pressure",
     " GB free to use · Linux is under pressure"},
    {Place::tail, " GB free to use · macOS is out of room",
     " GB free to use · Linux is out of room"},
    {Place::whole, "macOS thermal state: normal", "Linux thermal state: normal"},
    {Place::whole, "macOS thermal state: warm", "Linux thermal state: warm"},
    {Place::whole, "macOS thermal state: hot, throttling", "Linux thermal state: hot, throttling"},
    {Place::whole, "macOS thermal state: very hot, heavily throttled",
     "Linux thermal state: very hot, heavily throttled"},
    {Place::whole, "macOS thermal state: unknown", "Linux thermal state: unknown"},
    {Place::whole, kWhereTheScoreIs, "Your score lives in the tray. Click it for the detail."},
    {Place::tail, ". The new version is in Finder; drag it over.",
     ". The new version is in the file manager; drag it over."},
    {Place::whole, "Running hot. macOS is throttling to cool down",
     "Running hot. Linux is throttling to cool down"},
};

bool isWhole(std::string_view number) {
    return !number.empty() && number.find_first_not_of("0123456789") == std::string_view::npos;
}

/// Where the phrase stands in the text; npos: nowhere that it may.
std::size_t find(const Phrase& phrase, std::string_view text) {
    constexpr std::size_t kNowhere = std::string_view::npos;
    switch (phrase.place) {
    case Place::whole:
        return text == phrase.mac ? 0 : kNowhere;
    case Place::head:
        return text.starts_with(phrase.mac) && isWhole(text.substr(phrase.mac.size())) ? 0
                                                                                       : kNowhere;
    case Place::tail:
        text.remove_suffix(text.ends_with(')') ? 1 : 0);
        return text.ends_with(phrase.mac) ? text.size() - phrase.mac.size() : kNowhere;
    }
    return kNowhere;
}

} // namespace

std::string linuxWords(std::string text) {
    for (const Phrase& phrase : kPhrases) {
        const std::size_t at = find(phrase, text);
        if (at != std::string::npos) {
            text.replace(at, phrase.mac.size(), phrase.linux);
            break;
        }
    }
    return text;
}

std::string linuxWordsWithoutTray(std::string text) {
    if (text == kWhereTheScoreIs) {
        return "This desktop shows no tray for the score. On GNOME, the AppIndicator extension "
               "adds one. Until then, start Korvel again to open this.";
    }
    return linuxWords(std::move(text));
}

std::string linuxAwakeWords(bool display, bool system) {
    if (display && system) {
        return "Kept awake now: the display and the system.";
    }
    if (display) {
        return "Kept awake now: the display alone; the system may still sleep.";
    }
    return system ? "Kept awake now: the system alone; the display may still turn off." : "";
}

} // namespace korvel
