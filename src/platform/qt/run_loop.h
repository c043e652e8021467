#pragma once

#include <QObject>

#include "platform/run_loop.h"

namespace korvel::platform {

/// The run loop of the Qt application, which exists before it and outlives it.
class QtRunLoop final : public RunLoop {
  public:
    /// `end` ends the program, on a turn of the main thread; empty: Qt's loop is left.
    explicit QtRunLoop(Work end = {});
    /// Waits for the work in the background, which may use what is taken down later. So a program
    /// that is to end whatever that work does ends without it.
    ~QtRunLoop() override;

    void async(Work work) override;
    void after(double seconds, Work work) override;
    std::unique_ptr<Timer> once(double seconds, Work work) override;
    std::unique_ptr<Timer> every(double seconds, Work work) override;
    void background(Work work) override;
    void terminate() override;

  private:
    const Work end_;
    QObject mainThread_; ///< lives in the thread that runs the work; has those of the background
};

} // namespace korvel::platform
