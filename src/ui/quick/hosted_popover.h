#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <QObject>
#include <QTimer>

#include "base/observable.h"
#include "platform/status_bar.h"
#include "ui/quick/colour_scheme.h"
#include "ui/quick/popover_bridge.h"

class QQuickView;

namespace korvel {

class ContentView;

/// A popover of the desktop's own, which stands around a native view.
struct PopoverHost {
    std::unique_ptr<platform::Popover> popover;
    std::function<void(void* view)> setContent;                               ///< null: none
    std::function<void(double width, double height)> setPreferredContentSize; ///< in points
    /// Of the screen, less what is always on it, in points; nullopt where there is no screen.
    std::function<std::optional<double>()> visibleScreenHeight;
};

/// The popover where the desktop has one: the views are the content of its own. They are loaded
/// when it is opened, stay for a moment after it has closed, and are then let go.
class HostedPopover final : public QObject, public platform::Popover {
  public:
    /// Makes the host. It is to call `closed` each time the popover has closed, whoever closed it,
    /// and not once it is destroyed.
    using MakeHost = std::function<PopoverHost(std::function<void()> closed)>;

    /// `root` outlives the popover.
    HostedPopover(ContentView& root, Words words, const MakeHost& makeHost);
    ~HostedPopover() override;

    void show(platform::StatusItem& item) override;
    void close() override;
    bool shown() const override;
    void activate() override;
    void makeKey() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void makeViews();
    void unload();
    void closed();
    void limitHeight();
    void resize();
    void contentWillChange();
    void render();

    ContentView& root_;
    Words words_;
    Observation observation_;
    /// Without a portal: such a desktop tells by the palette.
    ColourScheme colourScheme_{QDBusConnection(QString())};
    QTimer unloading_;
    bool renderPending_ = false;
    std::unique_ptr<PopoverBridge> bridge_;
    std::unique_ptr<QQuickView> view_;
    PopoverHost
        host_; ///< last: it calls back into all of the above, and holds the view's native one
};

} // namespace korvel
