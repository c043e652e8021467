#include "ui/content/linux_words.h"

#include <string_view>

namespace korvel {

namespace {

/// Where in a text a phrase may stand.
enum class Place {
    whole, ///< it is the whole text
    tail,  ///< it ends the text, or the bracket that ends it
};

struct Phrase {
    Place place;
    std::string_view mac;
    std::string_view linux;
};

constexpr Phrase kPhrases[] = {
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
    {Place::whole, "Running hot. macOS is throttling to cool down",
     "Running hot. Linux is throttling to cool down"},
};

} // namespace

std::string linuxWords(std::string text) {
    const std::size_t bracket = text.ends_with(')') ? 1 : 0;
    const std::string_view body = std::string_view(text).substr(0, text.size() - bracket);
    for (const Phrase& phrase : kPhrases) {
        if (phrase.place == Place::whole ? text == phrase.mac : body.ends_with(phrase.mac)) {
            const std::size_t at =
                phrase.place == Place::whole ? 0 : body.size() - phrase.mac.size();
            text.replace(at, phrase.mac.size(), phrase.linux);
            break;
        }
    }
    return text;
}

} // namespace korvel
