#pragma once

#include <QObject>

namespace korvel {

/// How many pixels the popover's screen has for a logical pixel. `Theme` follows the one that its
/// QML engine has as a property.
class ScreenScale : public QObject {
    Q_OBJECT

  public:
    static constexpr const char* kEngineProperty = "korvelScreenScale";

    qreal pixelRatio() const { return pixelRatio_; }
    void setPixelRatio(qreal ratio);

  Q_SIGNALS:
    void changed();

  private:
    qreal pixelRatio_ = 1;
};

} // namespace korvel
