#include "ui/quick/pixel_grid.h"

#include <algorithm>
#include <cmath>

namespace korvel {

namespace {

constexpr qreal kRoundingError = 1e-6; // of sums of lengths that are whole already

} // namespace

qreal PixelGrid::length(qreal length) const {
    return length > 0 ? std::max(1.0, std::round(length * ratio_)) / ratio_ : 0;
}

qreal PixelGrid::place(qreal place) const {
    return std::round(place * ratio_) / ratio_;
}

qreal PixelGrid::before(qreal place) const {
    return std::floor(place * ratio_ + kRoundingError) / ratio_;
}

qreal PixelGrid::holding(qreal extent) const {
    return std::ceil(extent * ratio_ - kRoundingError) / ratio_;
}

qreal PixelGrid::middle(qreal outer, qreal inner) const {
    return place((outer - inner) / 2);
}

} // namespace korvel
