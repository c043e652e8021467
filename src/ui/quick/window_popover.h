#pragma once

#include <functional>
#include <memory>

#include <QMargins>
#include <QObject>
#include <QRect>
#include <QTimer>

#include "base/observable.h"
#include "platform/status_bar.h"
#include "ui/quick/colour_scheme.h"
#include "ui/quick/popover_bridge.h"

class QQuickView;
class QWindow;

namespace korvel {

class ContentView;

/// What the popover asks of the desktop that it opens on.
struct PopoverDesktop {
    Words words;                    ///< what the texts are said in
    std::function<void()> released; ///< runs each time the views have been let go; may be empty
    /// Whether what a window leaves transparent shows what is behind it; empty: it does not.
    std::function<bool()> blendsWindows;
    /// Tells it which margins of the window are shadow; empty where it cannot be told.
    std::function<void(QWindow&, const QMargins&)> declareShadow;
};

/// The popover as a frameless window at the status item. The views are loaded when it is opened,
/// stay for a moment after it is closed, and are then let go: most of the time nobody looks.
/// Nothing is drawn while it is closed.
class WindowPopover final : public QObject, public platform::Popover {
  public:
    /// `root` outlives the popover.
    WindowPopover(ContentView& root, PopoverDesktop desktop);
    ~WindowPopover() override;

    void show(platform::StatusItem& item) override;
    void close() override;
    bool shown() const override;
    void activate() override;
    void makeKey() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void makeView();
    void unload();
    void dress();
    QMargins shadowMargins() const;
    void declareShadow();
    void place();
    void contentWillChange();
    void render();
    void activeChanged();

    ContentView& root_;
    PopoverDesktop desktop_;
    Observation observation_;
    ColourScheme colourScheme_; ///< from the start, so that it is known at the first opening
    QTimer unloading_;
    platform::StatusItem* item_ = nullptr; ///< that it stands at; null while closed
    QRect anchor_;                         ///< on the screen; what it stands under
    bool wasActive_ = false;
    bool renderPending_ = false;
    bool shadowed_ = false;
    std::unique_ptr<PopoverBridge> bridge_;
    std::unique_ptr<QQuickView> view_;
};

} // namespace korvel
