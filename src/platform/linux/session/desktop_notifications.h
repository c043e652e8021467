#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QStringList>

#include "platform/notifications.h"

class QDBusMessage;

namespace korvel::platform {

/// Posts through org.freedesktop.Notifications on the session bus, which is never waited for. No
/// bus, or no service on it: nothing is shown, and the failure is silent. What is posted replaces
/// what was posted before and is still shown.
class DesktopNotifications final : public QObject, public Notifications {
    Q_OBJECT

  public:
    using Words = std::function<std::string(std::string)>;

    /// On the program's session bus. `words` turns each text into the words of this desktop.
    explicit DesktopNotifications(Words words);
    DesktopNotifications(Words words, const QDBusConnection& bus);

    /// The bus is there again, on this connection; nobody on it shows anything of the program.
    void useBus(const QDBusConnection& bus);

    /// Nothing: this desktop asks nobody for permission.
    void requestAuthorisation() override {}
    void post(const Notification& notification) override;

    /// For a service with actions. The request carries the token that the service sent, if any.
    void setAction(Action action) override;

    /// Has left the program when this returns, unless the bus does not answer within a tenth of a
    /// second.
    void withdraw() override;

    /// A text as the body of a notification: escaped for a service that renders markup, else plain.
    /// Control characters become spaces.
    static std::string body(const std::string& text, bool markup);

  private:
    Q_SLOT void told(const QDBusMessage& signal);
    void listen();
    void findService(const Notification& notification, const QStringList& capabilities);
    void notify(const Notification& notification, const QStringList& capabilities,
                const QString& service);
    bool isOfTheShown(const QDBusMessage& signal) const;
    void forget();

    QDBusConnection bus_;
    Words words_;
    Action action_;
    bool listening_ = false;
    QString service_;          ///< who was posted to: the connection's own name
    std::uint32_t number_ = 0; ///< of the notification that it shows; 0: none
    std::string token_;        ///< that came for the click which is about to be told
};

} // namespace korvel::platform
