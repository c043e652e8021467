#pragma once

#include <string_view>

#include <QImage>

namespace korvel::platform {

/// Sets a number from 0 to 100 into the middle of a square picture, in digits that were drawn pixel
/// by pixel for pictures of about its size; `ink` is opaque. False, with nothing drawn, for a size
/// that has no such digits: below 14 pixels and from 26 on.
bool drawPixelNumber(QImage& image, std::string_view digits, QRgb ink);

} // namespace korvel::platform
