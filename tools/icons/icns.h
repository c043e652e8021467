#pragma once

#include <functional>

#include <QByteArray>
#include <QImage>

namespace korvel {

/// A file of the system's icon format (icns): a picture in each size that the system asks for, made
/// by `draw`, which is given its side in pixels. Empty when a picture cannot be encoded.
QByteArray icnsFile(const std::function<QImage(int side)>& draw);

} // namespace korvel
