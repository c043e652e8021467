#pragma once

#include <QDBusConnection>
#include <QString>

namespace korvel::platform {

/// A connection to a bus that nothing else uses. What services grant to it they take back when it
/// closes, also what they grant after the call was given up: they watch who asked.
class OwnBusConnection {
  public:
    explicit OwnBusConnection(QDBusConnection::BusType bus);
    OwnBusConnection(const OwnBusConnection&) = delete;
    OwnBusConnection& operator=(const OwnBusConnection&) = delete;
    ~OwnBusConnection();

    /// Not to be kept: a copy would keep the connection open.
    QDBusConnection bus() const { return QDBusConnection(name_); }
    bool isConnected() const { return bus().isConnected(); }

  private:
    const QString name_;
};

} // namespace korvel::platform
