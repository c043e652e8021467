#include "base/shortest_number.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>

#include <fmt/format.h>

namespace korvel {

namespace {

constexpr int kMostDigits = 17; // what a double has at the most
constexpr std::uint32_t kEightDigits = 100000000;

constexpr std::array<std::uint64_t, kMostDigits + 1> kPowers = [] {
    std::array<std::uint64_t, kMostDigits + 1> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i) {
        powers[i] = powers[i - 1] * 10;
    }
    return powers;
}();

/// How many digits a number has, of at most 17; 0 has none.
int digitCount(std::uint64_t number) {
    const int guess =
        static_cast<int>(std::bit_width(number)) * 1233 >> 12; // times the logarithm of 2
    return guess + (number >= kPowers[static_cast<std::size_t>(guess)] ? 1 : 0);
}

constexpr std::array<char, 200> kPairs = [] {
    std::array<char, 200> pairs{};
    for (std::size_t i = 0; i < pairs.size(); i += 2) {
        pairs[i] = static_cast<char>('0' + i / 20);
        pairs[i + 1] = static_cast<char>('0' + i / 2 % 10);
    }
    return pairs;
}();

void writePair(char* out, std::uint32_t number) {
    std::memcpy(out, &kPairs[std::size_t{number} * 2], 2);
}

void writeEight(char* out, std::uint32_t number) {
    const std::uint32_t high = number / 10000;
    const std::uint32_t low = number % 10000;
    writePair(out, high / 100);
    writePair(out + 2, high % 100);
    writePair(out + 4, low / 100);
    writePair(out + 6, low % 100);
}

} // namespace

char* writeShortest(char* out, double number) {
    // The search for the digits is fmt's, though not part of what it promises to keep.
    const auto decimal = fmt::detail::dragonbox::to_decimal(number);
    const int count = digitCount(decimal.significand);
    const int beforeDot = count + decimal.exponent;
    if (decimal.significand == 0 || beforeDot < -3 || beforeDot > 16) { // zeros, and exponents
        return fmt::format_to(out, "{}", number);
    }
    // Room behind the digits, because copies of a fixed length are quicker than of the right one.
    std::array<char, std::size_t{2} * kMostDigits> digits{};
    const std::uint64_t padded =
        decimal.significand * kPowers[static_cast<std::size_t>(kMostDigits - count)];
    const std::uint64_t upper = padded / kEightDigits;
    digits[0] = static_cast<char>('0' + upper / kEightDigits);
    writeEight(&digits[1], static_cast<std::uint32_t>(upper % kEightDigits));
    writeEight(&digits[9], static_cast<std::uint32_t>(padded % kEightDigits));
    *out = '-';
    out += std::signbit(number) ? 1 : 0;
    if (beforeDot <= 0) {
        std::string_view("0.000").copy(out, 5);
        out += 2 - beforeDot;
        std::memcpy(out, digits.data(), kMostDigits);
        return out + count;
    }
    std::memcpy(out, digits.data(), kMostDigits);
    if (count <= beforeDot) {
        return out + beforeDot;
    }
    out[beforeDot] = '.';
    std::memcpy(out + beforeDot + 1, digits.data() + beforeDot, kMostDigits);
    return out + count + 1;
}

} // namespace korvel
