#pragma once

#include <string_view>
#include <vector>

#include <QIcon>
#include <QImage>

#include "platform/linux/session/icon_digits.h"
#include "platform/status_bar.h"

namespace korvel::platform {

/// Draws the values of a title, as a tray can show them, into a square of that many pixels: a tile
/// of the score's colour with the score on it. While the machine is kept awake the tile is a cup on
/// a saucer, and the number is the same to the pixel. Transparent below 8 pixels.
QImage drawTrayIcon(const StatusTitle& title, int pixels);

/// Draws the same pictures, one after the other, and keeps what they share: the digits, and the
/// tiles in each size of the last three colours, which are all that a score has. One that differs
/// from those only in its number costs a tenth of the first.
class TrayIconPainter {
  public:
    TrayIconPainter();

    QImage draw(const StatusTitle& title, int pixels);

  private:
    struct Face {
        Colour colour;
        bool awake = false;
        bool operator==(const Face&) const = default;
    };
    struct Tiles {
        Face face;
        std::vector<QImage> pictures; ///< each of another size
    };

    QImage tile(const StatusTitle& title, int pixels);
    Tiles& tilesOf(const Face& face);
    void drawNumber(QImage& image, std::string_view digits);

    std::vector<Tiles> kept_; ///< the last that were asked for first
    StrokeDigits digits_;
};

/// An icon that draws the title anew for each size it is asked for.
QIcon trayIcon(const StatusTitle& title);

} // namespace korvel::platform
