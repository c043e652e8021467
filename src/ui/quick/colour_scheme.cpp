#include "ui/quick/colour_scheme.h"

#include <optional>
#include <utility>

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

namespace korvel {

ColourScheme::ColourScheme(std::unique_ptr<platform::Appearance> appearance, QObject* parent)
    : QObject(parent), appearance_(std::move(appearance)) {
    if (appearance_) {
        appearance_->follow([this] { update(); });
    }
    qApp->installEventFilter(this);
    update();
}

bool ColourScheme::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange && watched == qApp) {
        update();
    }
    return QObject::eventFilter(watched, event);
}

void ColourScheme::update() {
    constexpr int kMiddle = 128;
    const std::optional<bool> preference = appearance_ ? appearance_->prefersDark() : std::nullopt;
    const bool dark = preference.value_or(
        QGuiApplication::palette().color(QPalette::Window).lightness() < kMiddle);
    if (dark_ != dark) {
        dark_ = dark;
        Q_EMIT darkChanged();
    }
}

} // namespace korvel
