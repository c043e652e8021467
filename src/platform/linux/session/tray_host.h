#pragma once

#include <functional>

#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>

namespace korvel::platform {

/// Waits for a tray to put the icon into.
///
/// Qt asks for a StatusNotifier host a single time, when a QSystemTrayIcon is first touched, and
/// keeps to the answer: without a host it speaks XEmbed for good, and on Wayland it never shows
/// anything. A program that starts with the session is often there before the panel. So nothing of
/// QSystemTrayIcon is touched until this has called back.
class TrayHost final : public QObject {
    Q_OBJECT

  public:
    /// `found` is called once, on a later turn or much later, perhaps never: at once when a host
    /// speaks StatusNotifierItem; on X11 also when there has been an XEmbed tray for a moment and
    /// still no such host.
    explicit TrayHost(std::function<void()> found);

    /// Looks for an XEmbed tray again. There is no signal for its coming that costs nothing, so the
    /// owner calls this at its own slow pace.
    void lookAgain();

  private:
    Q_SLOT void hostRegistered();
    void askForHost();
    void foundOnce();
    bool xembedTray() const;

    std::function<void()> found_;
    QDBusServiceWatcher watcher_;
    QTimer grace_;
};

} // namespace korvel::platform
