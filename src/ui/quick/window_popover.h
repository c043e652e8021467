#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <QDeadlineTimer>
#include <QMargins>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QRect>
#include <QScreen>
#include <QSize>
#include <QTimer>

#include "platform/appearance.h"
#include "platform/status_bar.h"
#include "ui/quick/popover_views.h"

class QWindow;

namespace korvel {

class ContentView;

/// For a desktop on which a program cannot simply place its window, but can have it placed at the
/// item; all of these are set.
struct PopoverStand {
    std::function<void(QWindow&)> adopt; ///< the window has been created, and was never shown
    /// It is about to be shown: for a click at `place`, if that is known, and until `closed` a
    /// click anywhere else calls `clickedOutside`. Gives the screen that it will be on, or null.
    std::function<QScreen*(std::optional<platform::Point> place,
                           std::function<void()> clickedOutside)>
        open;
    /// Stands it in its present size, of which these margins are its shadow.
    std::function<void(QWindow&, const QMargins&)> fit;
    std::function<void()> closed;
};

/// What a desktop tells of its places, and does for a window that the program places itself. All
/// of these are set; places are as Qt counts them.
struct PopoverPlacing {
    /// Where the item is that was clicked, for a bar that does not tell.
    std::function<QRect(const platform::ActivationRequest&)> whereAsked;
    /// The panel at that place that the desktop may not have told of; empty: there is none.
    std::function<QRect(QPoint)> panelAt;
    /// The window has been created and is about to be shown.
    std::function<void(QWindow&, const platform::ActivationRequest&)> aboutToShow;
    /// It has been shown; `shadow` tells which of its margins are not it. Until `closed` a button
    /// that is pressed elsewhere calls `pressedOutside`, where the desktop can tell of that.
    std::function<void(QWindow&, std::function<QMargins()> shadow,
                       std::function<void()> pressedOutside)>
        shown;
    /// It was asked for, and is shown.
    std::function<void(const platform::ActivationRequest&)> answered;
    std::function<void()> closed;
    /// It was closed by a button that was pressed elsewhere, and for so long it will be asked
    /// whether one was pressed since. Gives whether the desktop tells of that.
    std::function<bool(std::chrono::milliseconds patience)> awaitPress;
    std::function<bool()> wasPressed; ///< since then
};

/// What the popover asks of the desktop that it opens on.
struct PopoverDesktop {
    Words words; ///< what the texts are said in
    AwakeWords awakeWords = {};
    /// What it says of how programs should look; null: nothing, and the palette counts.
    std::unique_ptr<platform::Appearance> appearance;
    std::function<void()> released; ///< runs each time the views have been let go; may be empty
    /// Whether what a window leaves transparent shows what is behind it; empty: it does not.
    std::function<bool()> blendsWindows;
    /// Tells it which margins of the window are shadow; empty where it cannot be told.
    std::function<void(QWindow&, const QMargins&)> declareShadow;
    std::optional<PopoverStand> stand{}; ///< nullopt: the window is moved to its place
    /// Whether the window allows no size but its own: a compositor that tiles leaves it as it is.
    bool sizeIsFixed = false;
    /// Whether it is an X server: a window manager is given hints at a window's sizes, and a window
    /// can be cut, so that outside of its mask is seen what is behind it.
    bool isX11 = false;
    /// Gives the shown window the keyboard, which the desktop grants by the token of the click;
    /// empty: Qt does it.
    std::function<void(QWindow&, const std::string& token)> makeKey{};
    std::optional<PopoverPlacing> placing{}; ///< nullopt: it is placed by what Qt tells
    /// Asked before the views are loaded, for which parts of Qt are read: whether these would no
    /// longer fit, and the program is about to be started anew instead. Empty: they fit.
    std::function<bool()> startsAnew{};
    /// Asked before the views are loaded; see `PopoverViews::Options`.
    std::function<bool()> threadsAreToBeHad{};
};

/// The popover where the desktop has none: the views in a frameless window at the status item.
class WindowPopover final : public QObject, public platform::Popover {
  public:
    /// `root` outlives the popover.
    WindowPopover(ContentView& root, PopoverDesktop desktop);

    void show(platform::StatusItem& item, const platform::ActivationRequest& request) override;
    void close() override;
    bool shown() const override;
    void activate(const platform::ActivationRequest& request) override;
    void makeKey() override;
    void drawNow() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void loaded();
    void unloading();
    void dress();
    QMargins shadowMargins();
    QMargins margins();
    void declareShadow();
    void place();
    void fixSize();
    void cut();
    void resized();
    void moved();
    void checkSize();
    void activeChanged();
    void closeByClick();
    void closeByPress();

    PopoverDesktop desktop_;
    platform::StatusItem* item_ = nullptr; ///< that it stands at; null while closed
    QRect anchor_;                         ///< on the screen; what it stands under
    QPointer<QScreen> standsOn_;           ///< where the desktop places it; null elsewhere
    QRect panel_;                          ///< that the item is in; empty where none is known
    std::string token_;                    ///< by which it was asked for; used once
    QPoint wanted_;                        ///< where the window was placed
    int moves_ = 0;                        ///< how often it was moved there again
    QDeadlineTimer movedAgainUntil_;       ///< later moves are the user's
    bool wasActive_ = false;
    QTimer left_;           ///< runs from the loss of the keyboard, until it is closed by it
    bool checking_ = false; ///< on the next turn, whether the window has the views' size
    QSize asked_;           ///< the size that was asked for again
    int asks_ = 0;          ///< how often, for that size
    PopoverViews views_;    ///< go first: their window still tells of changes as it goes
};

} // namespace korvel
