#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <QDBusConnection>
#include <QDeadlineTimer>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QSystemTrayIcon>

#include "platform/linux/session/status_notifier_item.h"
#include "platform/linux/session/tray_host.h"
#include "platform/linux/session/tray_menu.h"
#include "platform/status_bar.h"

namespace korvel::platform {

/// What happens to what a tray item is to show and nobody has asked for.
enum class Unasked {
    comesAtOnce,  ///< with or without a tray: the user who started the program waits for an answer
    waitsForTray, ///< until one has the item
};

/// What a tray item takes from its session.
struct TraySession {
    QDBusConnection bus; ///< on which panels are looked for
    /// Opens another connection of that name to the same bus.
    std::function<QDBusConnection(const QString& name)> connect;
    std::function<bool()> xembedTray; ///< whether an XEmbed tray stands
    /// Whether a host's word on where it was clicked is to be taken. On X11 some hosts give a place
    /// of their own window, and the pointer is known anyway.
    bool hostsTellPlaces = false;
    Unasked unasked = Unasked::comesAtOnce;

    /// The session that the program runs in.
    static TraySession ofProgram(Unasked unasked);
};

/// The icon in the tray: an item on the bus where a StatusNotifier host stands, Qt's icon in an
/// XEmbed tray. It appears as soon as there is a tray, and again when a tray that went away comes
/// back; it is never in both.
class TrayStatusItem final : public QObject, public StatusItem {
  public:
    /// `menu` outlives the item.
    TrayStatusItem(TrayMenu& menu, TraySession session);
    ~TrayStatusItem() override;

    void setTitle(const StatusTitle& title) override;
    void setToolTip(const std::string& text) override;
    void setSummary(const std::string& text) override;
    void setAction(Action action) override;
    void setOpenAction(Action action) override;
    void whenSeen(const std::function<void()>& work) override;
    std::optional<Rectangle> frame() const override;
    void ignoreClicks(double seconds) override;
    void ignoreLateClick(double seconds, std::function<bool()> isAnother) override;

    /// Whether a tray has the icon, or is about to.
    bool isInTray() const { return host_.trayStands(); }

    /// The bus has gone, and its hosts with it.
    void busLost();

    /// The bus is there again, on this connection.
    void useBus(const QDBusConnection& bus) { host_.useBus(bus); }

  private:
    void registerItem();
    void leaveBus();
    void kindChanged(TrayKind kind);
    void showIcon();
    void clicked(const ActivationRequest& click);
    void showMenu(const ActivationRequest& click);
    ActivationRequest trusted(ActivationRequest click) const;

    TrayMenu& menu_;
    const TraySession session_;
    Action action_;
    Action open_;
    std::function<void()> whenSeen_;   ///< empty: nothing waits for a tray
    std::optional<StatusTitle> title_; ///< none until one is set
    QString toolTip_;
    QDeadlineTimer clicksIgnoredUntil_;
    QDeadlineTimer lateClickIgnoredUntil_;
    std::function<bool()> isAnotherClick_; ///< set while the latter has not expired
    StatusNotifierItem item_;
    bool onBus_ = false;
    std::unique_ptr<QSystemTrayIcon> icon_; ///< null outside an XEmbed tray
    TrayHost host_;                         ///< last: it calls back into all of the above
};

/// The tray. The application's own menu is the context menu of the item, and its key equivalents
/// work with the Control key while a window of the program has the keyboard.
class TrayStatusBar final : public QObject, public StatusBar {
  public:
    explicit TrayStatusBar(Unasked unasked = Unasked::comesAtOnce);
    ~TrayStatusBar() override;

    /// The item must not outlive the bar.
    std::unique_ptr<StatusItem> makeStatusItem() override;
    void setMainMenu(MainMenu menu) override;

    /// Whether anything shows the item, or is about to, as far as is known.
    bool hasTray() const;

    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    const Unasked unasked_;
    MainMenu mainMenu_;
    TrayMenu menu_;
    QPointer<TrayStatusItem> item_; ///< that was made last; null when it is gone
};

} // namespace korvel::platform
