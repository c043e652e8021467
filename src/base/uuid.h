#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string>

namespace korvel {

/// A universally unique identifier: the identity of a value in lists.
struct Uuid {
    std::array<std::uint64_t, 2> words{};

    /// A fresh random one (version 4). Good for identities, not for secrets.
    static Uuid random();

    /// The standard text, 36 characters, upper case.
    std::string text() const;

    // Not "auto": there are standard libraries whose arrays have only == and <.
    std::strong_ordering operator<=>(const Uuid&) const = default;
};

} // namespace korvel
