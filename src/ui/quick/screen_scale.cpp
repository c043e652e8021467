#include "ui/quick/screen_scale.h"

namespace korvel {

void ScreenScale::setPixelRatio(qreal ratio) {
    if (pixelRatio_ == ratio) {
        return;
    }
    pixelRatio_ = ratio;
    Q_EMIT changed();
}

} // namespace korvel
