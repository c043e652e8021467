#pragma once

#include <QImage>

namespace korvel {

/// The program's badge on the ground of an application's icon, in a picture of `side` by `side`
/// pixels. Each size is drawn for itself, not scaled.
QImage drawBadgeIcon(int side);

} // namespace korvel
