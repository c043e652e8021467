#pragma once

#include <functional>
#include <optional>
#include <string>

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QObject>

#include "platform/linux/session/status_notifier_types.h"
#include "platform/linux/session/tray_pixmaps.h"
#include "platform/status_bar.h"

namespace korvel::platform {

/// The item as a StatusNotifier host sees it: the object with the interface
/// org.kde.StatusNotifierItem. It tells of what changed, and of nothing else.
class StatusNotifierItem final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category MEMBER category_ CONSTANT)
    Q_PROPERTY(QString Id MEMBER id_ CONSTANT)
    Q_PROPERTY(QString Title MEMBER name_ CONSTANT)
    Q_PROPERTY(QString Status MEMBER status_ CONSTANT)
    Q_PROPERTY(int WindowId MEMBER noWindow_ CONSTANT)
    Q_PROPERTY(QString IconThemePath MEMBER none_ CONSTANT)
    Q_PROPERTY(QDBusObjectPath Menu MEMBER menu_ CONSTANT)
    Q_PROPERTY(bool ItemIsMenu MEMBER itemIsMenu_ CONSTANT)
    Q_PROPERTY(QString IconName MEMBER none_ CONSTANT)
    Q_PROPERTY(korvel::platform::TrayPixmaps IconPixmap READ iconPixmap)
    // Not of the protocol, but GNOME asks for it.
    Q_PROPERTY(QString IconAccessibleDesc READ iconDescription)
    Q_PROPERTY(QString OverlayIconName MEMBER none_ CONSTANT)
    Q_PROPERTY(korvel::platform::TrayPixmaps OverlayIconPixmap MEMBER noPixmaps_ CONSTANT)
    Q_PROPERTY(QString AttentionIconName MEMBER none_ CONSTANT)
    Q_PROPERTY(korvel::platform::TrayPixmaps AttentionIconPixmap MEMBER noPixmaps_ CONSTANT)
    Q_PROPERTY(QString AttentionMovieName MEMBER none_ CONSTANT)
    Q_PROPERTY(korvel::platform::TrayToolTip ToolTip READ toolTip)

  public:
    /// What hosts do; each on a later turn than the call, which is answered first. Any may be
    /// empty.
    struct Calls {
        /// A click, with the place that the host gave and the token that came ahead of it.
        std::function<void(const ActivationRequest& click)> activated;
        /// A host that draws no menus wants ours shown.
        std::function<void(const ActivationRequest& click)> menuWanted;
        /// Somebody fetches the picture, and so most likely shows it.
        std::function<void()> pictureFetched;
    };

    explicit StatusNotifierItem(Calls calls);

    /// The path of the object, and of the menu that it names.
    static QString path();
    static QString menuPath();

    /// Puts the object on a bus, until the connection is closed.
    void exportOn(QDBusConnection bus);

    void setTitle(const StatusTitle& title);
    void setToolTip(const QString& text);

    /// The token that came ahead of a click or of a choice from the menu; it is good for one.
    std::string takeToken();

    /// `(pictures in several sizes)`; without a title there is none.
    TrayPixmaps iconPixmap();
    TrayToolTip toolTip() const;
    QString iconDescription() const { return toolTip_; }

  public Q_SLOTS: // NOLINT(readability-redundant-access-specifiers): to moc this is another
    // Their names are the protocol's. NOLINTBEGIN(readability-identifier-naming)
    Q_SCRIPTABLE void Activate(int x, int y);
    Q_SCRIPTABLE void SecondaryActivate(int x, int y);
    Q_SCRIPTABLE void ContextMenu(int x, int y);
    Q_SCRIPTABLE void Scroll(int delta, const QString& orientation);
    Q_SCRIPTABLE void ProvideXdgActivationToken(const QString& token);

  Q_SIGNALS:
    Q_SCRIPTABLE void NewTitle();
    Q_SCRIPTABLE void NewIcon();
    Q_SCRIPTABLE void NewAttentionIcon();
    Q_SCRIPTABLE void NewOverlayIcon();
    Q_SCRIPTABLE void NewToolTip();
    Q_SCRIPTABLE void NewStatus(const QString& status);
    // NOLINTEND(readability-identifier-naming)

  private:
    void tell(const std::function<void(const ActivationRequest&)> Calls::*call, int x, int y);

    Calls calls_;
    std::optional<StatusTitle> title_; ///< none until one is set
    QString toolTip_;
    std::string token_;
    TrayPixmapCache pixmaps_;

    // What never changes.
    const QString category_ = QStringLiteral("ApplicationStatus");
    const QString id_ = QStringLiteral("korvel");
    const QString name_ = QStringLiteral("Korvel");
    const QString status_ = QStringLiteral("Active");
    const QString none_;
    const QDBusObjectPath menu_{menuPath()};
    const TrayPixmaps noPixmaps_;
    const int noWindow_ = 0;
    const bool itemIsMenu_ = false;
};

} // namespace korvel::platform
