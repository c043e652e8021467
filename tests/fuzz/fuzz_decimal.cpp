#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/decimal.h"
#include "base/json_writer.h"
#include "base/shortest_number.h"
#include "base/whole_number.h"
#include "fuzz/fuzz.h"
#include "support/strict_history.h"
#include "update/release.h"

namespace {

// This program sets no locale, so the C library reads and writes by the one named "C".
double byLibrary(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    require(end == text.c_str() + text.size(), "the library reads all of a number");
    return value;
}

bool areSame(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

bool consistsOf(std::string_view text, std::string_view characters) {
    return text.find_first_not_of(characters) == std::string_view::npos;
}

void fuzzDecimal(const std::string& text) {
    constexpr std::string_view kDigits = "0123456789";
    const bool isOne = consistsOf(text, "0123456789.") && !consistsOf(text, ".") &&
                       std::count(text.begin(), text.end(), '.') <= 1;
    const auto read = korvel::parseDecimal(text);
    require(!read || isOne, "a decimal number is digits and a dot");
    if (isOne) {
        const double value = byLibrary(text);
        const bool isHeld = std::isfinite(value) && (value != 0 || consistsOf(text, "0."));
        require(read.has_value() == isHeld, "every number is read that a double holds");
        require(!read || areSame(*read, value), "the library's value");
    }
    require(!consistsOf(text, kDigits) || text.empty() || isOne, "digits are a number");
}

void fuzzJsonNumber(const std::string& text) {
    const auto read = korvel::parseJsonNumber(text);
    const bool isOne = korvel::isJsonNumber(text);
    require(!read || isOne, "only what is a number is read");
    if (isOne) {
        require(consistsOf(text, "+-.0123456789eE"), "a number has no other characters");
        const double value = byLibrary(text);
        require(read.has_value() == std::isfinite(value), "only the infinite is refused");
        require(!read || areSame(*read, value), "the library's value, and its sign");
    }
    if (consistsOf(text, "+-.0123456789eE")) {
        const auto rows = korvel::test::StrictHistory::read("[[" + text + "]]");
        const bool isStrict = rows && rows->size() == 1 && rows->front().size() == 1;
        require(isStrict == read.has_value(), "a number by the grammar of JSON");
    }
}

void fuzzInteger(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const long long byLibrary = std::strtoll(text.c_str(), &end, 10);
    // The library passes over blanks and a plus sign, and says where it stopped.
    const bool isOne = !text.empty() && consistsOf(text, "-0123456789") && errno == 0 &&
                       end == text.c_str() + text.size();
    const auto read = korvel::wholeNumber<std::int64_t>(text);
    require(read.has_value() == isOne, "an integer is a minus sign and digits");
    require(!read || *read == byLibrary, "the library's integer");
    const auto exact =
        korvel::isJsonNumber(text) ? korvel::exactInteger(text) : std::optional<std::int64_t>();
    require(!exact || static_cast<double>(*exact) == korvel::parseJsonNumber(text),
            "an exact integer is the number's value");
    require(!isOne || !korvel::isJsonNumber(text) || exact == read, "plain digits are exact");
}

/// The same integer written with a fraction and with exponents.
void fuzzForms(std::int64_t integer) {
    const std::string digits = std::to_string(integer);
    const std::string sign = integer < 0 ? "-" : "";
    const std::string bare = digits.substr(sign.size());
    const std::string scientific =
        sign + bare.substr(0, 1) + "." + bare.substr(1) + "0E+" + std::to_string(bare.size() - 1);
    const std::string longer = integer == 0 ? "0.000e-3" : digits + "000e-3";
    for (const std::string& form : {digits, digits + ".0", digits + "e0", longer, scientific}) {
        require(korvel::isJsonNumber(form), "each form is a number");
        require(korvel::exactInteger(form) == integer, "each form is the integer");
    }
    require(!korvel::exactInteger(digits + ".5"), "a half is no integer");
    require(integer == 0 || !korvel::exactInteger(digits + "0000000000000000000"),
            "what 64 bits do not hold is none");
}

/// How many significant digits stand in the text of a number.
int digitsOf(std::string_view text) {
    text = text.substr(0, text.find('e'));
    std::string digits;
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits),
                 [](char c) { return c >= '0' && c <= '9'; });
    digits.erase(0, digits.find_first_not_of('0'));
    digits.erase(digits.find_last_not_of('0') + 1);
    return static_cast<int>(digits.size());
}

void fuzzWriter(double number) {
    korvel::JsonWriter json;
    json.value(number);
    const std::string& text = json.text();
    if (!std::isfinite(number)) {
        require(text == "null", "what JSON has no form for is null");
        return;
    }
    char room[korvel::kShortestRoom];
    require(text == std::string_view(room, korvel::writeShortest(room, number)),
            "both writers write the same");
    require(korvel::isJsonNumber(text), "a number is written as JSON has them");
    require(areSame(byLibrary(text), number), "the library reads the same number");
    require(korvel::parseJsonNumber(text) == number, "so is it read here");
    const int digits = digitsOf(text);
    if (digits > 1) {
        constexpr int kRoom = 64;
        char shorter[kRoom];
        std::snprintf(shorter, sizeof shorter, "%.*e", digits - 2, number);
        require(std::strtod(shorter, nullptr) != number, "no shorter text is read as the number");
    }
}

} // namespace

// Numbers are read and written as the C library does it, only stricter and shorter.
void fuzz(std::string_view bytes) {
    const std::string text(bytes);
    if (text.find('\0') == std::string::npos) { // where the library's texts end
        fuzzDecimal(text);
        fuzzJsonNumber(text);
        fuzzInteger(text);
    }
    std::uint64_t bits = 0;
    std::memcpy(&bits, bytes.data(), std::min(sizeof bits, bytes.size()));
    fuzzForms(static_cast<std::int64_t>(bits));
    fuzzWriter(std::bit_cast<double>(bits));
    fuzzWriter(static_cast<double>(static_cast<std::int64_t>(bits)));
    fuzzWriter(static_cast<double>(bits % 10'000'000) / 1000);
}
