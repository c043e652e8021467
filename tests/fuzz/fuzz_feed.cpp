#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>

#include "base/decimal.h"
#include "base/json_writer.h"
#include "base/utf8.h"
#include "fuzz/fuzz.h"
#include "update/https_url.h"
#include "update/release.h"

namespace {

using korvel::Release;

std::string written(const Release& release) {
    korvel::JsonWriter json;
    json.beginObject()
        .member("version", release.version)
        .member("build", release.build)
        .member("url", release.url)
        .member("sha256", release.sha256)
        .member("notes", release.notes)
        .member("minimumOS", release.minimumOS)
        .endObject();
    return json.text();
}

void fuzzFeed(std::string_view text) {
    const auto release = korvel::decodeRelease(std::string(text));
    if (!release) {
        return;
    }
    require(release->url.starts_with("https:") && korvel::isHttpsUrl(release->url),
            "the scheme is https");
    require(std::none_of(release->sha256.begin(), release->sha256.end(),
                         [](char c) { return c >= 'A' && c <= 'Z'; }),
            "the digest is in lower case");
    require(release->version.size() <= Release::kLongestVersion, "the version is short");
    require(release->notes.size() <= Release::kLongestNotes, "the notes can be stored");
    for (const std::string& field :
         {release->version, release->sha256, release->notes, release->minimumOS}) {
        require(korvel::isUtf8(field), "texts are well-formed");
    }
    require(korvel::decodeRelease(written(*release)) == release, "what was written is read again");
    require(korvel::decodeRelease(std::string(text) + " \r\n\t") == release,
            "white space may follow");
    require(!korvel::decodeRelease(std::string(text) + "{"), "nothing else may follow");
}

void fuzzNumber(std::string_view text) {
    std::int64_t plain = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, plain);
    const bool isPlain = read.ec == std::errc() && read.ptr == end;
    require(korvel::buildNumber(text) == (isPlain ? plain : 0) || text.starts_with('+'),
            "a build is plain digits");
    if (!korvel::isJsonNumber(text)) {
        return;
    }
    const auto integer = korvel::exactInteger(text);
    require(!isPlain || integer == plain, "plain digits are their integer");
    const auto nearest = korvel::parseJsonNumber(text);
    require(!integer || nearest == static_cast<double>(*integer), "the value of the number");
}

void fuzzUrl(std::string_view text) {
    if (korvel::isHttpsUrl(text)) {
        require(text.starts_with("https:"), "the scheme is https");
        require(std::all_of(text.begin(), text.end(), [](char c) { return c > 0x20 && c < 0x7f; }),
                "printable ASCII without spaces");
        require(!korvel::isHttpsUrl(std::string(text) + " "), "no space is taken in");
    }
}

} // namespace

// What is accepted of any bytes keeps the rules of a release; so do numbers and addresses by
// themselves.
void fuzz(std::string_view bytes) {
    fuzzFeed(bytes);
    fuzzNumber(bytes);
    fuzzUrl(bytes);
}
