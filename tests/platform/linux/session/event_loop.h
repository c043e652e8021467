#pragma once

#include <functional>

#include <QEventLoop>
#include <QTimer>

namespace korvel::platform {

/// Runs the event loop until `condition` holds, for so many milliseconds at most; whether it did.
inline bool runFor(int milliseconds, const std::function<bool()>& condition) {
    constexpr int kPause = 10; // milliseconds
    QEventLoop loop;
    QTimer poll;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    bool held = false;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        held = condition();
        if (held) {
            loop.quit();
        }
    });
    poll.start(kPause);
    loop.exec();
    return held;
}

/// The same, for as long as what is to come may take.
inline bool runUntil(const std::function<bool()>& condition) {
    constexpr int kMost = 5000; // milliseconds
    return runFor(kMost, condition);
}

} // namespace korvel::platform
