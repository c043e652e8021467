#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include <QMargins>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <xcb/xcb.h>

class QWindow;

namespace korvel::platform {

/// Tells of the clicks outside one window of the program: on another window, a panel or the bare
/// background.
///
/// On an X server they are only watched, and do their work where they fall. A click is told of when
/// its button comes up, however long it was down: a panel hands the one on its item on at that
/// moment, and it must be known by then what it closed. A Wayland
/// compositor's X server hears of those on its own windows alone; there a transparent window lies
/// over everything but the popover and takes them.
class X11ClickWatch final : public QObject {
  public:
    X11ClickWatch();
    ~X11ClickWatch() override;

    /// Until `stop`, calls `pressedOutside` on a later turn of the run loop, and perhaps again. The
    /// window has been shown; `shadow` tells which of its margins, in logical pixels, are not it.
    /// On a server without the input extension nothing is ever told.
    void start(QWindow& window, std::function<QMargins()> shadow,
               std::function<void()> pressedOutside);
    void stop();

    /// Stops, and for so long hears whether a button is pressed, wherever that is. Gives whether it
    /// can: a Wayland compositor's X server does not tell.
    bool awaitPress(std::chrono::milliseconds patience);

    /// Whether one was pressed since then, or that is not known any more. It asks the server, so
    /// that a press counts whose click has come another way before the server's word of it.
    bool wasPressed();

  private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    struct Area {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
    };

    const xcb_screen_t* connectToServer();
    void listen();
    void watchPresses(const xcb_screen_t& screen);
    void coverScreen(const xcb_screen_t& screen);
    void leaveWindowOut();
    void read();
    void heed(const xcb_generic_event_t& event);
    void heedWatched(std::uint16_t type, std::uint32_t button);
    bool pointerIsInside();
    Area insideOfWindow();
    void tell();

    /// Of its own, so that its requests and events are none of Qt's. Only while watching.
    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    std::unique_ptr<QSocketNotifier> notifier_;
    QWindow* window_ = nullptr;
    xcb_window_t watched_ = XCB_WINDOW_NONE;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    xcb_window_t cover_ = XCB_WINDOW_NONE;
    std::uint8_t inputExtension_ = 0; ///< its number; 0 while it is not watched
    bool pressedOutsideNow_ = false;  ///< a button, which is still down
    std::function<QMargins()> shadow_;
    std::function<void()> pressedOutside_;
    bool pressed_ = false; ///< a button, anywhere, since that is awaited
    QTimer patience_;      ///< runs while a press is awaited
};

} // namespace korvel::platform
