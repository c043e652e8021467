#pragma once

#include <memory>

#include <QObject>
#include <QRect>

#include "model/observable.h"
#include "platform/status_bar.h"
#include "ui/quick/colour_scheme.h"
#include "ui/quick/popover_bridge.h"

class QQuickView;

namespace korvel {

class ContentView;

/// The popover as a frameless window at the status item. The views are loaded when it is first
/// opened and it draws only while it is open.
class PopoverWindow final : public QObject, public platform::Popover {
  public:
    /// `root` outlives the popover; its texts are shown in `words`.
    PopoverWindow(ContentView& root, Words words);
    ~PopoverWindow() override;

    void show(platform::StatusItem& item) override;
    void close() override;
    bool shown() const override;
    void activate() override;
    void makeKey() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void makeView();
    void place();
    void contentWillChange();
    void render();
    void activeChanged();

    ContentView& root_;
    Words words_;
    Observation observation_;
    ColourScheme colourScheme_; ///< from the start, so that it is known at the first opening
    platform::StatusItem* item_ = nullptr; ///< that it stands at; null while closed
    QRect anchor_;                         ///< on the screen; what it stands under
    bool wasActive_ = false;
    bool renderPending_ = false;
    std::unique_ptr<PopoverBridge> bridge_;
    std::unique_ptr<QQuickView> view_;
};

} // namespace korvel
