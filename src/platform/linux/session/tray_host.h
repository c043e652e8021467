#pragma once

#include <chrono>
#include <functional>

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QTimer>

namespace korvel::platform {

/// Where the icon is shown.
enum class TrayKind {
    none,     ///< nowhere as yet
    notifier, ///< by a StatusNotifier host on the bus
    xembed,   ///< in an X11 system tray
};

/// Finds out who shows the icon, and follows it as panels come and go: a program that starts with
/// the session is often there before them. A StatusNotifier host is preferred wherever there is
/// one; an XEmbed tray has the icon only after it has stood for a moment without such a host.
///
/// Hosts do not always say that they are there, so the item is offered to every watcher that comes,
/// and one that fetches its picture counts as a host.
class TrayHost final : public QObject, protected QDBusContext {
    Q_OBJECT

  public:
    struct Calls {
        std::function<bool()> xembedTray; ///< whether an XEmbed tray stands
        /// Registers the item with the watcher. It is not called while the kind is `xembed`.
        std::function<void()> registerItem;
        std::function<void(TrayKind kind)> changed;
    };

    /// A panel that offers both kinds of tray takes the XEmbed selection first. This is how long it
    /// has to register as a StatusNotifier host.
    static constexpr std::chrono::milliseconds kGrace = std::chrono::seconds(2);

    /// `bus` is the session bus. Nothing is called before the next turn of the event loop.
    TrayHost(const QDBusConnection& bus, Calls calls, std::chrono::milliseconds grace = kGrace);

    TrayKind kind() const { return kind_; }

    /// Whether a tray is known to stand, be it one that has the icon only in a moment.
    bool trayStands() const { return kind_ != TrayKind::none || grace_.isActive(); }

    /// Looks for an XEmbed tray again. There is no signal for its coming that costs nothing, so the
    /// owner calls this at its own slow pace.
    void lookAgain();

    /// The bus has gone, and its host with it.
    void busLost();

    /// A bus is there again, on this connection, and its watcher and host are looked for.
    void useBus(const QDBusConnection& bus);

    /// Somebody has fetched the item's picture.
    void pictureFetched();

    /// The watcher has refused the item, or given no answer: it is offered again when a host comes.
    void registrationFailed();

    static QString watcherService();
    static QString watcherPath();

  private:
    Q_SLOT void hostRegistered();
    void lookForWatcher();
    void ownerChanged(const QString& owner);
    void registerItem();
    void askForHost();
    void hostFound();
    void graceOver();
    void setKind(TrayKind kind);

    const Calls calls_;
    QDBusConnection bus_;
    QDBusServiceWatcher watcher_;
    QTimer grace_;
    QString owner_;           ///< of the watcher's name on the bus; empty: nobody
    bool ownerKnown_ = false; ///< the bus has told
    bool host_ = false;       ///< there is a host, as far as is known
    bool noHost_ = false;     ///< the watcher has said that there is none
    bool registered_ = false; ///< with this watcher, as far as is known
    TrayKind kind_ = TrayKind::none;
};

} // namespace korvel::platform
