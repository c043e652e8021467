#pragma once

#include <functional>
#include <optional>

namespace korvel::platform {

/// What the user has told the desktop about how programs should look.
class Appearance {
  public:
    virtual ~Appearance() = default;

    /// Whether they should be dark; nullopt while that is not known, or the user has no preference.
    virtual std::optional<bool> prefersDark() const = 0;

    /// `changed` is called on the main thread after each change of the answer. Set once.
    virtual void follow(std::function<void()> changed) = 0;
};

} // namespace korvel::platform
