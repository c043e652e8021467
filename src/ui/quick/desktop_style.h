#pragma once

#include <memory>

#include <QObject>

#include "platform/appearance.h"

class QQmlEngine;

namespace korvel {

/// How the user wants the popover to look, followed while the program runs: what the desktop was
/// told, and of dark and light, where that is not known, what the palette looks like.
class DesktopStyle : public QObject {
    Q_OBJECT

  public:
    struct Values {
        bool dark = false;
        bool highContrast = false;
        bool moves = true;    ///< whether changes may be seen to happen
        double textScale = 1; ///< how many times its usual size text has
        bool operator==(const Values&) const = default;
    };

    /// Without an `appearance` the palette alone counts.
    explicit DesktopStyle(std::unique_ptr<platform::Appearance> appearance = nullptr,
                          QObject* parent = nullptr);

    const Values& values() const { return values_; }
    /// Looks again: an answer may also depend on the screen.
    void update();

    /// The one that the host of an engine's views gave it; null: none.
    static const DesktopStyle* of(const QQmlEngine& engine);
    void giveTo(QQmlEngine& engine);

  Q_SIGNALS:
    void changed();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    std::unique_ptr<platform::Appearance> appearance_;
    Values values_;
};

} // namespace korvel
