#include "ui/quick/drawn_length.h"

#include <cmath>

#include <QtGlobal>

namespace korvel {

namespace {

// A pixel of which just half is covered belongs to the window, and is not filled by Qt's painter,
// which rounds so much later.
constexpr double kHalf = 0.5;
constexpr double kLater = 1.0 / 64;

} // namespace

int drawnLength(int window, double scale) {
    return static_cast<int>(qRound(window * scale) / scale); // in the order that Qt does it
}

int lengthDrawing(int needed, double scale) {
    const double pixels = needed * scale;
    const double part = pixels - std::floor(pixels);
    const bool isHalved = part >= kHalf && part < kHalf + kLater;
    const int drawn = isHalved ? needed + 1 : needed;
    return drawnLength(drawn, scale) < drawn ? drawn + 1 : drawn;
}

} // namespace korvel
