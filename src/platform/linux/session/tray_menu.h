#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include <QString>

#include "platform/status_bar.h"

class QMenu;

namespace korvel::platform {

/// An entry of the item's menu, or a line between two.
struct TrayMenuEntry {
    QString text; ///< empty: a line
    std::function<void()> action;
};

class DBusMenu;

/// The item's menu: first the reading in a few words, which opens the popover, then the entries of
/// the application's own menu. Hosts on the bus draw it themselves; for others there is a window.
class TrayMenu {
  public:
    TrayMenu();
    ~TrayMenu();

    /// The entries of the application's own menu.
    void setItems(const std::vector<MenuItem>& items);

    /// The first entry's text and action; without a text there is none.
    void setSummary(const QString& text);
    void setOpenAction(std::function<void()> action);

    /// For hosts on the bus. The menu owns it.
    DBusMenu& exported() { return *exported_; }

    /// For everyone else, made when it is first asked for. The menu owns it.
    QMenu& window();

  private:
    void update();
    void fillWindow();
    void run(std::size_t entry) const;

    QString summary_;
    std::function<void()> open_;
    std::vector<TrayMenuEntry> items_;
    std::vector<TrayMenuEntry> entries_; ///< all of them
    std::unique_ptr<DBusMenu> exported_;
    std::unique_ptr<QMenu> window_;
};

} // namespace korvel::platform
