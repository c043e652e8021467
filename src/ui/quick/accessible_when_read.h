#pragma once

#include <QAccessible>

namespace korvel {

/// While this is there and no assistive tool reads the program, what Qt takes for the accessible
/// object of one of the views says nothing; when a tool comes, Qt makes all of them as ever.
///
/// Qt makes these objects for every item that has something to say, read or not, and never forgets
/// the name of a class for which it has looked. The classes of the views have other names each time
/// that their types are registered (`forgetViews`), so without this 2.6 KiB stay of each opening.
///
/// One at a time.
class AccessibleWhenRead final : private QAccessible::ActivationObserver {
  public:
    AccessibleWhenRead();
    ~AccessibleWhenRead() override;
    AccessibleWhenRead(const AccessibleWhenRead&) = delete;
    AccessibleWhenRead& operator=(const AccessibleWhenRead&) = delete;

  private:
    void accessibilityActiveChanged(bool active) override;
};

} // namespace korvel
