#include "base/uuid.h"

#include <random>

#include <fmt/format.h>

namespace korvel {

namespace {

// A history of 43,200 points takes as many identifiers at once, so the system's source only seeds.
// What follows is a counter, mixed until no bit tells of the one before (SplitMix64): in a thread
// no number comes twice.
std::uint64_t nextNumber() {
    thread_local std::uint64_t counter = [] {
        std::random_device device;
        return std::uint64_t{device()} << 32 | device();
    }();
    counter += 0x9e3779b97f4a7c15;
    std::uint64_t mixed = (counter ^ counter >> 30) * 0xbf58476d1ce4e5b9;
    mixed = (mixed ^ mixed >> 27) * 0x94d049bb133111eb;
    return mixed ^ mixed >> 31;
}

} // namespace

Uuid Uuid::random() {
    constexpr std::uint64_t kVersionMask = 0xf000;
    constexpr std::uint64_t kVersion4 = 0x4000;
    constexpr std::uint64_t kVariantMask = std::uint64_t{3} << 62;
    constexpr std::uint64_t kVariant = std::uint64_t{2} << 62;
    return {
        {(nextNumber() & ~kVersionMask) | kVersion4, (nextNumber() & ~kVariantMask) | kVariant}};
}

std::string Uuid::text() const {
    const std::string digits = fmt::format("{:016X}{:016X}", words[0], words[1]);
    std::string text;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i == 8 || i == 12 || i == 16 || i == 20) {
            text += '-';
        }
        text += digits[i];
    }
    return text;
}

} // namespace korvel
