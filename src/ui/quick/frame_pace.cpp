#include "ui/quick/frame_pace.h"

#include <chrono>

namespace korvel {

namespace {

constexpr auto kStep = std::chrono::milliseconds(33);

} // namespace

FramePace::FramePace() {
    step_.setInterval(kStep);
    step_.setTimerType(Qt::PreciseTimer);
    connect(&step_, &QTimer::timeout, this, &FramePace::advance);
    install();
}

void FramePace::start() {
    QAnimationDriver::start();
    step_.start();
}

void FramePace::stop() {
    step_.stop();
    QAnimationDriver::stop();
}

} // namespace korvel
