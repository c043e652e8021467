#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <QDeadlineTimer>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include "platform/linux/session/tray_host.h"
#include "platform/status_bar.h"

namespace korvel::platform {

/// The icon in the tray. It appears as soon as there is a tray, and again when a tray that went
/// away comes back.
class TrayStatusItem final : public QObject, public StatusItem {
  public:
    /// `menu` outlives the item.
    explicit TrayStatusItem(QMenu& menu);

    void setTitle(const StatusTitle& title) override;
    void setToolTip(const std::string& text) override;
    void setAction(Action action) override;
    std::optional<Rectangle> frame() const override;
    void ignoreClicks(double seconds) override;

  private:
    void appear();
    void activated(QSystemTrayIcon::ActivationReason reason);

    QMenu& menu_;
    Action action_;
    std::optional<StatusTitle> title_; ///< none until one is set
    QString toolTip_;
    QDeadlineTimer clicksIgnoredUntil_;
    std::unique_ptr<QSystemTrayIcon> icon_;
    TrayHost host_; ///< last: it calls back into all of the above
};

/// The tray. The application's own menu is the context menu of the item, and its key equivalents
/// work with the Control key while a window of the program has the keyboard.
class TrayStatusBar final : public QObject, public StatusBar {
  public:
    TrayStatusBar();
    ~TrayStatusBar() override;

    /// The item must not outlive the bar.
    std::unique_ptr<StatusItem> makeStatusItem() override;
    void setMainMenu(MainMenu menu) override;

    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    MainMenu mainMenu_;
    QMenu menu_;
};

} // namespace korvel::platform
