#pragma once

#include <QColor>
#include <QIcon>
#include <QImage>
#include <QString>

#include "platform/status_bar.h"

namespace korvel::platform {

/// The title as a tray can show it, in a square: the dot has grown into a tile of its own colour,
/// and the number stands on it. Two titles with equal pictures look the same.
struct StatusPicture {
    QColor tile;       ///< the colour of the title's coloured run
    QString digits;    ///< of the last run; at most three are drawn
    bool mark = false; ///< a quieter run stands between them: the cup

    bool operator==(const StatusPicture&) const = default;
};

StatusPicture statusPicture(const StatusTitle& title);

/// Draws the picture for a square of that many pixels, from 8 on.
QImage drawStatusPicture(const StatusPicture& picture, int pixels);

/// An icon that draws the picture anew for each size it is asked for.
QIcon statusIcon(const StatusPicture& picture);

} // namespace korvel::platform
