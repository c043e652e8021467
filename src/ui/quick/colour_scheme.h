#pragma once

#include <memory>

#include <QObject>

#include "platform/appearance.h"

namespace korvel {

/// Whether the popover is dark, followed while the program runs: what the user has told the desktop
/// is preferred, and where that is not known, what the palette looks like.
class ColourScheme : public QObject {
    Q_OBJECT

  public:
    /// Without an `appearance` the palette alone counts.
    explicit ColourScheme(std::unique_ptr<platform::Appearance> appearance = nullptr,
                          QObject* parent = nullptr);

    bool dark() const { return dark_; }

  Q_SIGNALS:
    void darkChanged();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void update();

    std::unique_ptr<platform::Appearance> appearance_;
    bool dark_ = false;
};

} // namespace korvel
