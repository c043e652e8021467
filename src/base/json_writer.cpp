#include "base/json_writer.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include <fmt/format.h>

#include "base/utf8.h"

namespace korvel {

namespace {

bool mustBeEscaped(char c) {
    return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20;
}

} // namespace

void JsonWriter::separate() {
    if (!first_) {
        text_ += ',';
    }
    first_ = false;
}

JsonWriter& JsonWriter::beginObject() {
    separate();
    text_ += '{';
    first_ = true;
    return *this;
}

JsonWriter& JsonWriter::endObject() {
    text_ += '}';
    first_ = false;
    return *this;
}

JsonWriter& JsonWriter::beginArray() {
    separate();
    text_ += '[';
    first_ = true;
    return *this;
}

JsonWriter& JsonWriter::endArray() {
    text_ += ']';
    first_ = false;
    return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
    value(name);
    text_ += ':';
    first_ = true;
    return *this;
}

JsonWriter& JsonWriter::value(std::string_view string) {
    separate();
    text_ += '"';
    const std::string decoded = decodeUtf8Lossy(string);
    std::string_view rest = decoded;
    while (!rest.empty()) {
        const auto special = std::find_if(rest.begin(), rest.end(), mustBeEscaped);
        text_.append(rest.begin(), special);
        rest.remove_prefix(static_cast<std::size_t>(special - rest.begin()));
        if (!rest.empty()) {
            escape(rest.front());
            rest.remove_prefix(1);
        }
    }
    text_ += '"';
    return *this;
}

void JsonWriter::escape(char c) {
    switch (c) {
    case '"':
        text_ += "\\\"";
        break;
    case '\\':
        text_ += "\\\\";
        break;
    case '\n':
        text_ += "\\n";
        break;
    case '\r':
        text_ += "\\r";
        break;
    case '\t':
        text_ += "\\t";
        break;
    default:
        fmt::format_to(std::back_inserter(text_), "\\u{:04x}", static_cast<unsigned char>(c));
    }
}

JsonWriter& JsonWriter::value(double number) {
    if (!std::isfinite(number)) {
        return value(nullptr);
    }
    separate();
    fmt::format_to(std::back_inserter(text_), "{}", number);
    return *this;
}

JsonWriter& JsonWriter::integer(std::int64_t number) {
    separate();
    fmt::format_to(std::back_inserter(text_), "{}", number);
    return *this;
}

JsonWriter& JsonWriter::natural(std::uint64_t number) {
    separate();
    fmt::format_to(std::back_inserter(text_), "{}", number);
    return *this;
}

JsonWriter& JsonWriter::value(bool flag) {
    separate();
    text_ += flag ? "true" : "false";
    return *this;
}

JsonWriter& JsonWriter::value(std::nullptr_t) {
    separate();
    text_ += "null";
    return *this;
}

} // namespace korvel
