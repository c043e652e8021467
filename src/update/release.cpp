#include "update/release.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include <simdjson.h>

#include "base/decimal.h"
#include "base/utf8.h"
#include "base/whole_number.h"
#include "update/https_url.h"

namespace korvel {

namespace {

using simdjson::ondemand::json_type;
using simdjson::ondemand::value;

std::string_view trimmedToken(std::string_view token) {
    return token.substr(0, token.find_last_not_of(" \t\r\n") + 1);
}

/// Reads a value to its end. The reader looks only at what it is asked for, and the feed is valid
/// as a whole or not at all. Throws or gives false where it is not.
bool isValid(value element, int depth = 0) { // NOLINT(misc-no-recursion): bounded
    constexpr int kDeepest = 512;
    if (depth > kDeepest) {
        return false;
    }
    switch (element.type().value()) {
    case json_type::object:
        for (auto field : element.get_object()) {
            field.unescaped_key().value();
            if (!isValid(field.value().value(), depth + 1)) {
                return false;
            }
        }
        return true;
    case json_type::array:
        for (auto item : element.get_array()) {
            if (!isValid(item.value(), depth + 1)) {
                return false;
            }
        }
        return true;
    case json_type::string:
        element.get_string().value();
        return true;
    case json_type::number:
        return isJsonNumber(trimmedToken(element.raw_json_token()));
    case json_type::boolean:
        element.get_bool().value();
        return true;
    case json_type::null:
        return element.is_null();
    }
    return false;
}

/// The text of a string; nullopt, when it is a valid value of another type.
std::optional<std::string> stringOf(value element) {
    if (element.type().value() == json_type::string) {
        return std::string(element.get_string().value());
    }
    if (!isValid(element)) {
        throw simdjson::simdjson_error(simdjson::TAPE_ERROR);
    }
    return std::nullopt;
}

std::optional<std::int64_t> integerOf(value element) {
    if (element.type().value() == json_type::number) {
        const std::string_view token = trimmedToken(element.raw_json_token());
        if (isJsonNumber(token)) {
            return exactInteger(token);
        }
    }
    if (!isValid(element)) {
        throw simdjson::simdjson_error(simdjson::TAPE_ERROR);
    }
    return std::nullopt;
}

std::string lowerCased(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return text;
}

/// What of the feed is read, before it is known to be whole.
struct Entry {
    std::optional<std::string> version;
    std::optional<std::int64_t> build;
    std::optional<std::string> url;
    std::optional<std::string> sha256;
    std::optional<std::string> notes;
    std::optional<std::string> minimumOS;
};

void readMember(Entry& entry, std::string_view key, value element) {
    if (key == "version") {
        entry.version = stringOf(element);
    } else if (key == "build") {
        entry.build = integerOf(element);
    } else if (key == "url") {
        entry.url = stringOf(element);
    } else if (key == "sha256") {
        entry.sha256 = stringOf(element);
    } else if (key == "notes") {
        entry.notes = stringOf(element);
    } else if (key == "minimumOS") {
        entry.minimumOS = stringOf(element);
    } else {
        stringOf(element);
    }
}

} // namespace

std::optional<Release> decodeRelease(std::string feed) {
    if (feed.starts_with(kByteOrderMark)) {
        feed.erase(0, kByteOrderMark.size());
        if (feed.starts_with(kByteOrderMark)) {
            return std::nullopt;
        }
    }
    Entry entry;
    feed.reserve(feed.size() + simdjson::SIMDJSON_PADDING);
    try {
        simdjson::ondemand::parser parser;
        simdjson::ondemand::document document = parser.iterate(feed);
        for (auto field : document.get_object()) {
            // A copy: the next string that is read may lie where this one does.
            const std::string key(field.unescaped_key().value());
            readMember(entry, key, field.value().value());
        }
        if (document.current_location().error() != simdjson::OUT_OF_BOUNDS) {
            return std::nullopt; // something follows the object
        }
    } catch (const simdjson::simdjson_error&) {
        return std::nullopt;
    }
    if (!entry.version || !entry.build || !entry.url || !isHttpsUrl(*entry.url) || !entry.sha256) {
        return std::nullopt;
    }
    const std::string notes = entry.notes.value_or("");
    if (entry.version->size() > Release::kLongestVersion || notes.size() > Release::kLongestNotes) {
        return std::nullopt;
    }
    return Release{*entry.version, *entry.build,
                   *entry.url,     lowerCased(*entry.sha256),
                   notes,          entry.minimumOS.value_or(Release::kDefaultMinimumOS)};
}

std::optional<std::int64_t> exactInteger(std::string_view number) {
    const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
    const std::string_view mantissa = number.substr(0, mark);
    std::int64_t exponent = 0;
    if (mark < number.size()) {
        std::string_view power = number.substr(mark + 1);
        const bool isNegative = power.starts_with('-');
        power.remove_prefix(power.starts_with('-') || power.starts_with('+') ? 1 : 0);
        constexpr std::int64_t kFar = std::numeric_limits<std::int32_t>::max();
        const auto read = std::from_chars(power.data(), power.data() + power.size(), exponent);
        exponent = read.ec == std::errc() ? std::min(exponent, kFar) : kFar;
        exponent = isNegative ? -exponent : exponent;
    }
    // The sign and the digits without the dot, and how many of them stand behind it.
    const std::size_t dot = std::min(mantissa.find('.'), mantissa.size());
    std::string digits(mantissa.substr(0, dot));
    std::int64_t behind = -exponent;
    if (dot < mantissa.size()) {
        digits += mantissa.substr(dot + 1);
        behind += static_cast<std::int64_t>(mantissa.size() - dot - 1);
    }
    if (digits.find_first_of("123456789") == std::string::npos) {
        return 0;
    }
    for (; behind > 0; --behind) {
        if (digits.back() != '0') { // a digit that is not 0 is among them
            return std::nullopt;
        }
        digits.pop_back();
    }
    constexpr std::int64_t kMostZeros = std::numeric_limits<std::int64_t>::digits10;
    if (-behind > kMostZeros) {
        return std::nullopt;
    }
    digits.append(static_cast<std::size_t>(-behind), '0');
    return wholeNumber<std::int64_t>(digits);
}

std::int64_t buildNumber(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return 0;
        }
    }
    return wholeNumber<std::int64_t>(text).value_or(0);
}

} // namespace korvel
