#pragma once

#include <QAnimationDriver>
#include <QTimer>

namespace korvel {

/// Lets everything that is animated on this thread move thirty times a second, which is half as
/// often as it would by itself: what moves is small, and each step wakes the program and the
/// display server. Nothing is asked of it while nothing moves.
class FramePace final : public QAnimationDriver {
    Q_OBJECT

  public:
    FramePace();

  protected:
    void start() override;
    void stop() override;

  private:
    QTimer step_;
};

} // namespace korvel
