#include "ui/quick/desktop_style.h"

#include <utility>

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QQmlEngine>

namespace korvel {

namespace {

constexpr const char* kProperty = "korvelDesktopStyle";

} // namespace

DesktopStyle::DesktopStyle(std::unique_ptr<platform::Appearance> appearance, QObject* parent)
    : QObject(parent), appearance_(std::move(appearance)) {
    if (appearance_) {
        appearance_->follow([this] { update(); });
    }
    qApp->installEventFilter(this);
    update();
}

const DesktopStyle* DesktopStyle::of(const QQmlEngine& engine) {
    return engine.property(kProperty).value<DesktopStyle*>();
}

void DesktopStyle::giveTo(QQmlEngine& engine) {
    engine.setProperty(kProperty, QVariant::fromValue(this));
}

bool DesktopStyle::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange && watched == qApp) {
        update();
    }
    return QObject::eventFilter(watched, event);
}

void DesktopStyle::update() {
    constexpr int kMiddle = 128;
    Values values;
    std::optional<bool> dark;
    if (appearance_) {
        dark = appearance_->prefersDark();
        values.highContrast = appearance_->prefersContrast();
        values.moves = !appearance_->reducesMotion();
        values.textScale = appearance_->textScale();
    }
    values.dark =
        dark.value_or(QGuiApplication::palette().color(QPalette::Window).lightness() < kMiddle);
    if (std::exchange(values_, values) != values) {
        Q_EMIT changed();
    }
}

} // namespace korvel
