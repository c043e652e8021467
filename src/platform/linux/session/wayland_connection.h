#pragma once

#include <chrono>
#include <memory>

struct wl_display;

namespace korvel::platform {

/// A connection to the Wayland compositor that the environment names, beside Qt's. Whatever was
/// made over it is to be destroyed before it.
class WaylandConnection {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Null where no compositor is named, or none takes the connection.
    static std::unique_ptr<WaylandConnection> open();

    explicit WaylandConnection(wl_display* display) : display_(display) {}
    WaylandConnection(const WaylandConnection&) = delete;
    WaylandConnection& operator=(const WaylandConnection&) = delete;
    ~WaylandConnection();

    wl_display* display() const { return display_; }
    int descriptor() const;

    /// Sends what was asked and waits until all of it has been answered. False: not by then, or the
    /// compositor has gone.
    bool answered(Time deadline);

    /// Reads what comes until `done`, which a listener sets. False: not by then, or the compositor
    /// has gone.
    bool readUntil(const bool& done, Time deadline);

    /// Reads what has come, without waiting. False: the compositor has gone.
    bool readNow();

  private:
    wl_display* display_;
};

} // namespace korvel::platform
