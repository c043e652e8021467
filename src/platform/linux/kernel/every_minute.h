#pragma once

namespace korvel::platform {

/// There is a reading every five seconds.
inline constexpr int kReadingsAMinute = 12;

/// Lets what seldom changes be looked at once a minute, without a clock.
class EveryMinute {
  public:
    /// To be asked once a reading: true the first time and at every twelfth from then on.
    bool isDue() {
        const bool due = toSkip_ == 0;
        toSkip_ = due ? kReadingsAMinute - 1 : toSkip_ - 1;
        return due;
    }

    /// The next time it is asked it is due.
    void hasten() { toSkip_ = 0; }

  private:
    int toSkip_ = 0;
};

} // namespace korvel::platform
