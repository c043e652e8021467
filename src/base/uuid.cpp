#include "base/uuid.h"

#include <random>

#include <fmt/format.h>

namespace korvel {

namespace {

// A history of 43,200 points takes as many identifiers at once, so the system's source only seeds.
std::mt19937_64& generator() {
    thread_local std::mt19937_64 engine = [] {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device(),
                           device(), device(), device(), device()};
        return std::mt19937_64(seed);
    }();
    return engine;
}

} // namespace

Uuid Uuid::random() {
    std::mt19937_64& engine = generator();
    constexpr std::uint64_t kVersionMask = 0xf000;
    constexpr std::uint64_t kVersion4 = 0x4000;
    constexpr std::uint64_t kVariantMask = std::uint64_t{3} << 62;
    constexpr std::uint64_t kVariant = std::uint64_t{2} << 62;
    return {{(engine() & ~kVersionMask) | kVersion4, (engine() & ~kVariantMask) | kVariant}};
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
