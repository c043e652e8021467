#pragma once

#include <vector>

#include "platform/linux/session/status_notifier_types.h"
#include "platform/linux/session/tray_icon.h"
#include "platform/status_bar.h"

namespace korvel::platform {

/// The pictures of a title in the sizes that hosts draw, ready to be sent. They are painted once
/// and kept, for the last few titles: a score often goes back to what it was.
class TrayPixmapCache {
  public:
    /// Of two titles that look alike the pictures are the same.
    const TrayPixmaps& of(const StatusTitle& title);

    /// Whether a tray draws these two titles alike.
    static bool lookAlike(const StatusTitle& one, const StatusTitle& other);

  private:
    struct Kept {
        StatusTitle title;
        TrayPixmaps pixmaps;
    };
    TrayIconPainter painter_;
    std::vector<Kept> kept_; ///< the last that was asked for first
};

} // namespace korvel::platform
