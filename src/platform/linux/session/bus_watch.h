#pragma once

#include <chrono>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QStringList>
#include <QTimer>

namespace korvel::platform {

/// Watches on this connection, also when it has the name of the one before it.
void watchOn(QDBusServiceWatcher& watcher, const QDBusConnection& bus);

/// Has `slot` of `receiver` called, without arguments, when this connection ends.
void tellWhenLost(const QDBusConnection& bus, QObject& receiver, const char* slot);

/// Tells when services appear on a bus and go, and when the bus itself goes away and is back. It
/// has a connection of its own, because the library does not connect its shared one again.
class BusWatch final : public QObject {
    Q_OBJECT

  public:
    /// How long after one look for a bus that is away the next comes.
    static constexpr std::chrono::milliseconds kPause = std::chrono::seconds(10);

    /// `connection` names the connection.
    BusWatch(QDBusConnection::BusType bus, QString connection, const QStringList& services,
             std::chrono::milliseconds pause = kPause);
    ~BusWatch() override;

    /// Whether a bus that is away is looked for, again and again. While it is not there is no
    /// timer, so that the program is not woken for nothing.
    void setWanted(bool wanted);

  Q_SIGNALS:
    /// Someone has the name of the service now, or no longer: `owner` is whose connection it is.
    /// Where it goes from one to another, it is gone first.
    void appeared(const QString& service, const QString& owner);
    void gone(const QString& service, const QString& owner);
    void lost();
    void returned();

  private Q_SLOTS:
    void disconnected();

  private: // NOLINT(readability-redundant-access-specifiers): to moc the one above is another
    bool connectToBus();
    void look();

    const QDBusConnection::BusType bus_;
    const QString connection_;
    bool connected_ = false;
    bool wanted_ = false;
    QDBusServiceWatcher watcher_;
    QTimer retry_;
};

} // namespace korvel::platform
