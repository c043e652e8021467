#pragma once

#include <functional>

#include <QAbstractNativeEventFilter>
#include <QVariantMap>

#include <xcb/xcb.h>

namespace korvel::platform {

/// The settings that a desktop's daemon puts on the X server, followed while the program runs. They
/// are what there is of a desktop without a portal. Empty without a daemon, and without an X
/// server.
class X11Settings final : public QAbstractNativeEventFilter {
  public:
    /// `changed` is called on the main thread after each change.
    explicit X11Settings(std::function<void()> changed);
    ~X11Settings() override;
    X11Settings(const X11Settings&) = delete;
    X11Settings& operator=(const X11Settings&) = delete;

    const QVariantMap& values() const { return values_; }

    bool nativeEventFilter(const QByteArray& type, void* event, qintptr* result) override;

  private:
    void find();
    void read();

    std::function<void()> changed_;
    QVariantMap values_;
    xcb_atom_t selection_ = XCB_ATOM_NONE; ///< whose holder is the daemon
    xcb_atom_t property_ = XCB_ATOM_NONE;  ///< of its window
    xcb_atom_t manager_ = XCB_ATOM_NONE;   ///< the message of a daemon that has come
    xcb_window_t daemon_ = XCB_WINDOW_NONE;
};

} // namespace korvel::platform
