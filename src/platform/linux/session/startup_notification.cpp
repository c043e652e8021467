#include "platform/linux/session/startup_notification.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include <QWindow>

#include "platform/linux/session/x11.h"

namespace korvel::platform {

std::vector<std::array<char, 20>> startupCompletion(const std::string& token) {
    std::string message = "remove: ID=";
    for (const char c : token) {
        if (c == ' ' || c == '"' || c == '\\') {
            message += '\\';
        }
        message += c;
    }
    message += '\0';
    std::vector<std::array<char, 20>> pieces;
    for (std::string_view rest = message; !rest.empty();) {
        std::array<char, 20>& piece = pieces.emplace_back();
        const std::string_view part = rest.substr(0, piece.size());
        std::ranges::copy(part, piece.begin());
        rest.remove_prefix(part.size());
    }
    return pieces;
}

void beginStartupWith(QWindow& window, const std::string& token) {
    xcb_connection_t* connection = x11Connection();
    if (!connection) {
        return;
    }
    const auto id = static_cast<xcb_window_t>(window.winId());
    const xcb_atom_t property = x11Atom("_NET_STARTUP_ID", true);
    if (token.empty()) {
        xcb_delete_property(connection, id, property);
    } else {
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, property,
                            x11Atom("UTF8_STRING", true), 8,
                            static_cast<std::uint32_t>(token.size()), token.data());
    }
}

void completeStartup(const std::string& token) {
    xcb_connection_t* connection = x11Connection();
    if (!connection || token.empty()) {
        return;
    }
    // The pieces of a message belong together by the window that they come from.
    const xcb_window_t sender = xcb_generate_id(connection);
    xcb_create_window(connection, 0, sender, x11Root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_client_message_event_t event = {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 8;
    event.window = sender;
    event.type = x11Atom("_NET_STARTUP_INFO_BEGIN", true);
    for (const std::array<char, 20>& piece : startupCompletion(token)) {
        std::ranges::copy(piece, event.data.data8);
        xcb_send_event(connection, 0, x11Root(), XCB_EVENT_MASK_PROPERTY_CHANGE,
                       reinterpret_cast<const char*>(&event));
        event.type = x11Atom("_NET_STARTUP_INFO", true);
    }
    xcb_destroy_window(connection, sender);
    xcb_flush(connection);
}

} // namespace korvel::platform
