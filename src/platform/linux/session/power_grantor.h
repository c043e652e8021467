#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include <QString>

namespace korvel::platform {

/// A bound on how long several answers are waited for, one after the other.
class Patience {
  public:
    static constexpr std::chrono::milliseconds kOneAnswer{400};

    explicit Patience(std::chrono::milliseconds total,
                      std::chrono::milliseconds oneAnswer = kOneAnswer)
        : end_(std::chrono::steady_clock::now() + total), oneAnswer_(oneAnswer) {}

    /// For the next answer: no more than a part, so that one who hangs leaves some to the others.
    /// Zero: there is none left.
    std::chrono::milliseconds next() const {
        // Nobody answers in less; the library may end a wait a moment early and leave that much.
        constexpr std::chrono::milliseconds kLeast(20);
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end_ - std::chrono::steady_clock::now());
        return left < kLeast ? std::chrono::milliseconds(0) : std::min(oneAnswer_, left);
    }

  private:
    std::chrono::steady_clock::time_point end_;
    std::chrono::milliseconds oneAnswer_;
};

/// What a grantor has granted, until this is destroyed.
class PowerHold {
  public:
    PowerHold() = default;
    PowerHold(const PowerHold&) = delete;
    PowerHold& operator=(const PowerHold&) = delete;
    virtual ~PowerHold() = default;

    /// The connection on the bus whose end ends it; empty: none does.
    virtual QString owner() const { return {}; }

    /// Whether it has ended by itself, for another reason than its owner's end.
    virtual bool ended() const { return false; }
};

/// Who can keep the display, or the machine, from going idle.
class PowerGrantor {
  public:
    PowerGrantor() = default;
    PowerGrantor(const PowerGrantor&) = delete;
    PowerGrantor& operator=(const PowerGrantor&) = delete;
    virtual ~PowerGrantor() = default;

    /// Its name on the bus; empty: it is not on one.
    virtual QString service() const { return {}; }

    /// Whether it is asked only because nobody better is there yet: a service of the desktop that
    /// appears later has idle timers of its own, which this one knows nothing of.
    virtual bool givesWay() const { return false; }

    /// Takes a hold that is listed under `reason`. Null when the grantor is not there, refuses,
    /// does not answer in time, or when what it says afterwards shows that nothing is held. Where
    /// the hold ends by itself, `ended` is called from the event loop.
    virtual std::unique_ptr<PowerHold> take(const QString& reason, const Patience& patience,
                                            const std::function<void()>& ended) = 0;
};

using PowerGrantorList = std::vector<std::unique_ptr<PowerGrantor>>; ///< the best first

} // namespace korvel::platform
