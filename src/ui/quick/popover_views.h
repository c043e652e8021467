#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include <QObject>
#include <QSize>
#include <QTimer>
#include <QUrl>

#include "base/observable.h"
#include "platform/appearance.h"
#include "ui/quick/desktop_style.h"
#include "ui/quick/frame_pace.h"
#include "ui/quick/popover_bridge.h"
#include "ui/quick/popover_frame.h"
#include "ui/quick/screen_scale.h"

class QQuickView;

namespace korvel {

class ContentView;

/// The popover's views, in a window that whoever owns this shows and places. They are loaded when
/// they are first needed, stay for a moment after they were hidden, and are then let go: most of
/// the time nobody looks. While they are shown, a change of the content is rendered on the next
/// turn of the run loop, once however many there were; while they are hidden nothing is.
class PopoverViews final : public QObject {
    Q_OBJECT

  public:
    struct Options {
        Words words;           ///< what the texts are said in
        Qt::WindowFlags flags; ///< of the window
        AwakeWords awakeWords = {};
        /// What the desktop says of how they should look; null: nothing, and the palette counts.
        std::unique_ptr<platform::Appearance> appearance = nullptr;
        /// How long they stay after they were hidden, for whoever looks again at once.
        std::chrono::milliseconds keptLoaded = std::chrono::seconds(10);
        /// Asked before they are loaded: whether as many threads can be started as that takes
        /// (`kThreads`). Qt would wait without end for one that cannot. Empty: they can.
        std::function<bool()> threadsAreToBeHad = nullptr;
        QUrl source = QUrl(QStringLiteral("qrc:/qt/qml/Korvel/PopoverRoot.qml"));
    };

    /// While they are loaded: one that reads them, and one that fills shapes of many edges.
    static constexpr int kThreads = 2;

    /// `root` outlives the views.
    PopoverViews(ContentView& root, Options options);
    ~PopoverViews() override;

    /// How they stand on the desktop; said before they are loaded too.
    PopoverFrame& frame() { return frame_; }

    /// Makes them ready to be shown, with the content and in the size of now: what has changed
    /// since they were last shown is not seen to change. Loads them where they are not. False: they
    /// cannot be loaded now, a message of Qt says why, and there is no window.
    bool prepare();
    /// Once they are prepared.
    void show();
    /// Also where they were prepared and then not shown.
    void hide();
    /// While they are shown: has the present line of the update painted, and the display server
    /// told of it, before this returns. What else has changed is rendered on the next turn.
    void drawNow();
    bool shown() const { return shown_; }

    /// Their window; null while they are not loaded.
    QQuickView* window() const { return view_.get(); }
    /// What they need, in points; once they are prepared.
    QSize size() const;
    /// Lays the views out on the pixels of the screen that their window is on now; by themselves
    /// they are when that is another scale.
    void followScale();
    /// How many of the screen's pixels are laid out for one logical pixel.
    qreal scale() const { return screenScale_.pixelRatio(); }
    /// Gives the window the size of the views now; by itself it takes it on a later turn.
    void fit();

  Q_SIGNALS:
    void loaded();    ///< the window has been made
    void unloading(); ///< it is about to go
    void rendered();  ///< a change, while they are shown
    void escaped();   ///< the Escape key was pressed, and nothing in them takes it

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    bool load();
    void unload();
    void contentWillChange();
    void render();
    void drawAllAnew();

    ContentView& root_;
    Options options_;
    Observation observation_;
    DesktopStyle style_; ///< from the start, so that it is known at the first opening
    FramePace pace_;
    PopoverFrame frame_;
    ScreenScale screenScale_;
    QTimer unloading_;
    bool shown_ = false;
    bool renderPending_ = false;
    std::unique_ptr<PopoverBridge> bridge_;
    std::unique_ptr<QQuickView> view_;
};

} // namespace korvel
