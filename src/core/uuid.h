#pragma once

#include <array>
#include <compare>
#include <cstdint>

namespace korvel {

/// A universally unique identifier: the identity of a value in lists.
struct Uuid {
    std::array<std::uint64_t, 2> words{};

    /// A fresh random one (version 4). Good for identities, not for secrets.
    static Uuid random();

    auto operator<=>(const Uuid&) const = default;
};

} // namespace korvel
