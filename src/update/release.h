#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvel {

/// What the feed tells of the latest release.
struct Release {
    std::string version; ///< for people; only builds are compared
    std::int64_t build = 0;
    std::string url;       ///< of the archive; its scheme is "https"
    std::string sha256;    ///< the archive's digest in lower-case digits; not checked for being one
    std::string notes;     ///< free text
    std::string minimumOS; ///< nothing consults it

    static constexpr const char* kDefaultMinimumOS = "13.0";
    /// Bytes of UTF-8. The version is shown in one line, and of the notes three lines are; both are
    /// stored among the settings.
    static constexpr std::size_t kLongestVersion = 256;
    static constexpr std::size_t kLongestNotes = std::size_t{64} << 10;

    bool operator==(const Release&) const = default;
};

/// Reads the feed: one JSON object. nullopt when it is no valid JSON, a required key is missing or
/// of the wrong type, or version or notes are longer than above. Keys that are not known are passed
/// over.
std::optional<Release> decodeRelease(std::string feed);

/// The value of a number as JSON writes it ("42", "42.0", "4.2e1"), when it is exactly an integer
/// of 64 bits.
std::optional<std::int64_t> exactInteger(std::string_view number);

/// The value of "42", "+42" or "-42"; 0 for any other text, and for one that does not fit.
std::int64_t buildNumber(std::string_view text);

} // namespace korvel
