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
constexpr std::uint64_t kNineDigits = 1000000000;

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

/// The texts of 0000 to 9999, each with its first digit in the lowest byte.
constexpr std::array<std::uint32_t, 10000> kFours = [] {
    std::array<std::uint32_t, 10000> fours{};
    for (std::uint32_t i = 0; i < fours.size(); ++i) {
        fours[i] =
            0x30303030 + i / 1000 + (i / 100 % 10 << 8) + (i / 10 % 10 << 16) + (i % 10 << 24);
    }
    return fours;
}();

/// The text of a number of eight digits, the first of them in the lowest byte.
std::uint64_t eightDigits(std::uint32_t number) {
    return kFours[number / 10000] | std::uint64_t{kFours[number % 10000]} << 32;
}

void write(char* out, std::uint64_t eight) {
    std::memcpy(out, &eight, sizeof eight);
}

} // namespace

char* writeShortest(char* out, double number) {
    // The search for the digits is fmt's, though not part of what it promises to keep.
    const auto decimal = fmt::detail::dragonbox::to_decimal(number);
    const int count = digitCount(decimal.significand);
    const int beforeDot = count + decimal.exponent;
    if (std::endian::native != std::endian::little || decimal.significand == 0 || beforeDot < -3 ||
        beforeDot > 16) { // zeros, and exponents
        return fmt::format_to(out, "{}", number);
    }
    *out = '-';
    out += std::signbit(number) ? 1 : 0;
    if (beforeDot <= 0) {
        std::string_view("0.000").copy(out, 5);
        out += 2 - beforeDot;
    }
    // All 17 digits: eight, eight and one.
    const std::uint64_t padded =
        decimal.significand * kPowers[static_cast<std::size_t>(kMostDigits - count)];
    const auto lastNine = static_cast<std::uint32_t>(padded % kNineDigits);
    const std::uint64_t first = eightDigits(static_cast<std::uint32_t>(padded / kNineDigits));
    const std::uint64_t next = eightDigits(lastNine / 10);
    const char last = static_cast<char>('0' + lastNine % 10);
    write(out, first);
    write(out + 8, next);
    out[16] = last;
    if (beforeDot <= 0) {
        return out + count;
    }
    if (count <= beforeDot) {
        return out + beforeDot;
    }
    // Those behind the dot once more, one further. What is read back from memory just after it was
    // written in other pieces is slow, so they are taken from the words.
    char* const behindDot = out + beforeDot + 1;
    if (beforeDot < 8) {
        write(behindDot, first >> 8 * beforeDot);
        write(out + 9, next);
    } else if (beforeDot < 16) {
        write(behindDot, next >> 8 * (beforeDot - 8));
    }
    out[17] = last;
    behindDot[-1] = '.';
    return out + count + 1;
}

} // namespace korvel
