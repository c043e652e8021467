#include "platform/linux/session/x11_settings.h"

#include <cstdint>
#include <utility>

#include <QCoreApplication>

#include "platform/linux/session/x11.h"
#include "platform/linux/session/xsettings.h"

namespace korvel::platform {

X11Settings::X11Settings(std::function<void()> changed) : changed_(std::move(changed)) {
    if (x11Connection()) {
        selection_ = x11Atom("_XSETTINGS_S0", true);
        property_ = x11Atom("_XSETTINGS_SETTINGS", true);
        manager_ = x11Atom("MANAGER", true);
        find();
        qApp->installNativeEventFilter(this);
    }
}

X11Settings::~X11Settings() {
    if (qApp) {
        qApp->removeNativeEventFilter(this);
    }
}

bool X11Settings::nativeEventFilter(const QByteArray&, void* event, qintptr*) {
    constexpr std::uint8_t kSentBySomebody = 0x80;
    const auto* told = static_cast<const xcb_generic_event_t*>(event);
    switch (told->response_type & ~kSentBySomebody) {
    case XCB_PROPERTY_NOTIFY: {
        const auto* change = static_cast<const xcb_property_notify_event_t*>(event);
        if (change->window == daemon_ && change->atom == property_) {
            read();
            changed_();
        }
        break;
    }
    case XCB_CLIENT_MESSAGE: {
        const auto* message = static_cast<const xcb_client_message_event_t*>(event);
        if (message->type == manager_ && message->data.data32[1] == selection_) {
            find();
            changed_();
        }
        break;
    }
    default:
        break;
    }
    return false;
}

/// What a daemon said stays when it goes: the next one says it again.
void X11Settings::find() {
    xcb_connection_t* connection = x11Connection();
    const X11Answer<xcb_get_selection_owner_reply_t> holder(xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, selection_), nullptr));
    daemon_ = XCB_WINDOW_NONE;
    if (holder) {
        daemon_ = holder->owner;
    }
    if (daemon_ != XCB_WINDOW_NONE) {
        // The events that Qt asks for, of the same window over the same connection.
        const std::uint32_t events =
            XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(connection, daemon_, XCB_CW_EVENT_MASK, &events);
        read();
    }
}

void X11Settings::read() {
    constexpr std::uint32_t kLongest = 16 * 1024; // units of four bytes
    xcb_connection_t* connection = x11Connection();
    const X11Answer<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection,
        xcb_get_property(connection, 0, daemon_, property_, XCB_GET_PROPERTY_TYPE_ANY, 0, kLongest),
        nullptr));
    if (reply) {
        values_ = xsettings({static_cast<const char*>(xcb_get_property_value(reply.get())),
                             xcb_get_property_value_length(reply.get())});
    }
}

} // namespace korvel::platform
