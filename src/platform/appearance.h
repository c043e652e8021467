#pragma once

#include <functional>
#include <optional>

namespace korvel::platform {

/// What the user has told the desktop about how programs should look. Nothing is asked for by an
/// answer: it is what is known at that moment.
class Appearance {
  public:
    virtual ~Appearance() = default;

    /// Whether they should be dark; nullopt while that is not known, or the user has no preference.
    virtual std::optional<bool> prefersDark() const = 0;

    /// How many times its usual size text should have, beyond what the scale of the display gives
    /// it already; 1 to 3, and 1 while that is not known.
    virtual double textScale() const = 0;

    /// Whether they should be drawn in high contrast; false while that is not known.
    virtual bool prefersContrast() const = 0;

    /// Whether nothing should move that need not; false while that is not known.
    virtual bool reducesMotion() const = 0;

    /// `changed` is called on the main thread after each change of an answer. Set once.
    virtual void follow(std::function<void()> changed) = 0;
};

} // namespace korvel::platform
