#include "platform/linux/session/x11_click_watch.h"

#include <array>
#include <utility>

#include <QWindow>

#include <xcb/shape.h>
#include <xcb/xinput.h>

#include "platform/linux/session/x11.h"

namespace korvel::platform {

namespace {

/// The cover is larger than the screen by this many pixels on each side: a compositor takes a
/// window of exactly the screen's size for one that is in full screen, and hides its panel.
constexpr int kBeyondScreen = 8;
// Buttons from here to there turn a wheel, which closes nothing.
constexpr std::uint32_t kFirstWheelButton = 4;
constexpr std::uint32_t kLastWheelButton = 7;

const xcb_screen_t* screenOf(xcb_connection_t* connection, int number) {
    xcb_screen_iterator_t screen = xcb_setup_roots_iterator(xcb_get_setup(connection));
    while (number-- > 0 && screen.rem > 1) {
        xcb_screen_next(&screen);
    }
    return screen.data;
}

/// A visual that has transparency; 0 where the screen has none.
xcb_visualid_t transparentVisual(const xcb_screen_t& screen) {
    constexpr std::uint8_t kDepth = 32;
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0;
         xcb_depth_next(&depth)) {
        if (depth.data->depth == kDepth && xcb_depth_visuals_length(depth.data) > 0) {
            return xcb_depth_visuals(depth.data)->visual_id;
        }
    }
    return 0;
}

bool turnsWheel(std::uint32_t button) {
    return button >= kFirstWheelButton && button <= kLastWheelButton;
}

} // namespace

X11ClickWatch::X11ClickWatch() {
    patience_.setSingleShot(true);
    connect(&patience_, &QTimer::timeout, this, &X11ClickWatch::stop);
}

X11ClickWatch::~X11ClickWatch() = default;

void X11ClickWatch::start(QWindow& window, std::function<QMargins()> shadow,
                          std::function<void()> pressedOutside) {
    const xcb_screen_t* const screen = connectToServer();
    if (!screen) {
        return;
    }
    window_ = &window;
    watched_ = static_cast<xcb_window_t>(window.winId());
    shadow_ = std::move(shadow);
    pressedOutside_ = std::move(pressedOutside);
    if (x11IsInsideWayland()) {
        coverScreen(*screen);
    } else {
        watchPresses(*screen);
    }
    listen();
}

bool X11ClickWatch::awaitPress(std::chrono::milliseconds patience) {
    const xcb_screen_t* const screen = x11IsInsideWayland() ? nullptr : connectToServer();
    if (!screen) {
        return false;
    }
    watchPresses(*screen);
    if (inputExtension_ == 0) {
        stop();
        return false;
    }
    patience_.start(patience);
    listen();
    return true;
}

bool X11ClickWatch::wasPressed() {
    if (patience_.isActive()) {
        xcb_connection_t* connection = connection_.get();
        // Behind all that the server had to tell before.
        const X11Answer<xcb_get_input_focus_reply_t> answer(
            xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
        read();
    }
    return pressed_ || !patience_.isActive();
}

/// Instead of what was watched before. Gives the screen, or null where there is no server.
const xcb_screen_t* X11ClickWatch::connectToServer() {
    stop();
    int number = 0;
    connection_.reset(xcb_connect(nullptr, &number));
    if (xcb_connection_has_error(connection_.get()) != 0) {
        connection_.reset();
        return nullptr;
    }
    const xcb_screen_t* const screen = screenOf(connection_.get(), number);
    root_ = screen->root;
    return screen;
}

void X11ClickWatch::listen() {
    xcb_flush(connection_.get());
    notifier_ = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection_.get()),
                                                  QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, &X11ClickWatch::read);
    read(); // what came with the answers is not in the socket any more
}

void X11ClickWatch::stop() {
    notifier_.reset();
    connection_.reset();
    window_ = nullptr;
    cover_ = XCB_WINDOW_NONE;
    inputExtension_ = 0;
    pressedOutsideNow_ = false;
    shadow_ = nullptr;
    pressedOutside_ = nullptr;
    pressed_ = false;
    patience_.stop();
}

void X11ClickWatch::watchPresses(const xcb_screen_t& screen) {
    xcb_connection_t* connection = connection_.get();
    const xcb_query_extension_reply_t* extension =
        xcb_get_extension_data(connection, &xcb_input_id);
    if (!extension || extension->present == 0) {
        return;
    }
    // From 2.1 on presses are told while another program has grabbed the pointer, too.
    const X11Answer<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
        connection, xcb_input_xi_query_version(connection, 2, 1), nullptr));
    if (!version || version->major_version < 2) {
        return;
    }
    inputExtension_ = extension->major_opcode;
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } const wanted = {{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                      XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
                          XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE};
    xcb_input_xi_select_events(connection, screen.root, 1, &wanted.head);
}

void X11ClickWatch::coverScreen(const xcb_screen_t& screen) {
    xcb_connection_t* connection = connection_.get();
    const xcb_visualid_t visual = transparentVisual(screen);
    if (visual == 0) {
        return;
    }
    const xcb_colormap_t colours = xcb_generate_id(connection);
    xcb_create_colormap(connection, XCB_COLORMAP_ALLOC_NONE, colours, screen.root, visual);
    constexpr std::uint32_t kTransparent = 0;
    constexpr std::uint32_t kUnmanaged = 1;
    const std::array<std::uint32_t, 5> values = {kTransparent, kTransparent, kUnmanaged,
                                                 XCB_EVENT_MASK_BUTTON_PRESS, colours};
    cover_ = xcb_generate_id(connection);
    xcb_create_window(connection, 32, cover_, screen.root, -kBeyondScreen, -kBeyondScreen,
                      static_cast<std::uint16_t>(screen.width_in_pixels + 2 * kBeyondScreen),
                      static_cast<std::uint16_t>(screen.height_in_pixels + 2 * kBeyondScreen), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT |
                          XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                      values.data());
    const std::uint32_t moves = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection, watched_, XCB_CW_EVENT_MASK, &moves);
    leaveWindowOut();
    xcb_map_window(connection, cover_);
}

void X11ClickWatch::leaveWindowOut() {
    xcb_connection_t* connection = connection_.get();
    const X11Answer<xcb_get_geometry_reply_t> cover(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, cover_), nullptr));
    if (!cover) {
        return;
    }
    const Area inside = insideOfWindow();
    const xcb_rectangle_t all = {0, 0, cover->width, cover->height};
    const xcb_rectangle_t hole = {static_cast<std::int16_t>(inside.x + kBeyondScreen),
                                  static_cast<std::int16_t>(inside.y + kBeyondScreen),
                                  static_cast<std::uint16_t>(inside.width),
                                  static_cast<std::uint16_t>(inside.height)};
    xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT,
                         XCB_CLIP_ORDERING_UNSORTED, cover_, 0, 0, 1, &all);
    xcb_shape_rectangles(connection, XCB_SHAPE_SO_SUBTRACT, XCB_SHAPE_SK_INPUT,
                         XCB_CLIP_ORDERING_UNSORTED, cover_, 0, 0, 1, &hole);
    xcb_flush(connection);
}

void X11ClickWatch::read() {
    while (connection_) {
        const X11Answer<xcb_generic_event_t> event(xcb_poll_for_event(connection_.get()));
        if (!event) {
            break;
        }
        heed(*event);
    }
    if (connection_ && xcb_connection_has_error(connection_.get()) != 0) {
        stop(); // the server is gone
    }
}

void X11ClickWatch::heed(const xcb_generic_event_t& event) {
    constexpr std::uint8_t kSentByClient = 0x80;
    switch (event.response_type & ~kSentByClient) {
    case XCB_GE_GENERIC: { // a release looks as a press does
        const auto& button = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
        if (button.extension == inputExtension_) {
            heedWatched(button.event_type, button.detail);
        }
        break;
    }
    case XCB_BUTTON_PRESS:
        if (!turnsWheel(reinterpret_cast<const xcb_button_press_event_t&>(event).detail)) {
            tell();
        }
        break;
    case XCB_CONFIGURE_NOTIFY:
        leaveWindowOut();
        break;
    default:
        break;
    }
}

void X11ClickWatch::heedWatched(std::uint16_t type, std::uint32_t button) {
    if (turnsWheel(button)) {
        return;
    }
    if (!window_) {
        pressed_ = pressed_ || type == XCB_INPUT_RAW_BUTTON_PRESS;
    } else if (type == XCB_INPUT_RAW_BUTTON_PRESS) {
        pressedOutsideNow_ = !pointerIsInside();
    } else if (type == XCB_INPUT_RAW_BUTTON_RELEASE && std::exchange(pressedOutsideNow_, false)) {
        tell();
    }
}

/// Asked when the press is heard of: the event itself tells no place.
bool X11ClickWatch::pointerIsInside() {
    xcb_connection_t* connection = connection_.get();
    const X11Answer<xcb_query_pointer_reply_t> pointer(
        xcb_query_pointer_reply(connection, xcb_query_pointer(connection, root_), nullptr));
    const Area inside = insideOfWindow();
    return pointer && pointer->root_x >= inside.x && pointer->root_x < inside.x + inside.width &&
           pointer->root_y >= inside.y && pointer->root_y < inside.y + inside.height;
}

/// On the screen, in the server's pixels; empty where the window is not there.
X11ClickWatch::Area X11ClickWatch::insideOfWindow() {
    xcb_connection_t* connection = connection_.get();
    const auto asked = xcb_translate_coordinates(connection, watched_, root_, 0, 0);
    const X11Answer<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, watched_), nullptr));
    const X11Answer<xcb_translate_coordinates_reply_t> corner(
        xcb_translate_coordinates_reply(connection, asked, nullptr));
    if (!size || !corner) {
        return {};
    }
    const QMarginsF shadow = QMarginsF(shadow_()) * window_->devicePixelRatio();
    return {.x = corner->dst_x + qRound(shadow.left()),
            .y = corner->dst_y + qRound(shadow.top()),
            .width = size->width - qRound(shadow.left() + shadow.right()),
            .height = size->height - qRound(shadow.top() + shadow.bottom())};
}

void X11ClickWatch::tell() {
    // Who hears of it stops the watch.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (const auto pressedOutside = pressedOutside_) {
                pressedOutside();
            }
        },
        Qt::QueuedConnection);
}

} // namespace korvel::platform
