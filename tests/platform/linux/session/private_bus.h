#pragma once

#include <QDBusConnection>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

namespace korvel {

/// A message bus of the test's own, which starts no services but those that are offered to it.
class PrivateBus {
  public:
    PrivateBus() {
        QFile config(folder_.filePath(QStringLiteral("bus.conf")));
        if (!config.open(QIODevice::WriteOnly)) {
            return;
        }
        config.write("<busconfig><type>session</type><listen>unix:path=" + folder_.path().toUtf8() +
                     "/bus</listen><servicedir>" + folder_.path().toUtf8() +
                     "</servicedir><auth>EXTERNAL</auth><policy context=\"default\">"
                     "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                     "<allow own=\"*\"/></policy></busconfig>");
        config.close();
        start();
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus() { stop(); }

    /// Starts it again after a stop, where it was.
    void start() {
        daemon_.start(
            QStringLiteral("dbus-daemon"),
            {QStringLiteral("--config-file=") + folder_.filePath(QStringLiteral("bus.conf")),
             QStringLiteral("--nofork"), QStringLiteral("--print-address=1")});
        if (daemon_.waitForReadyRead(10000)) {
            // Without the daemon's own number, as a desktop's address is.
            address_ =
                QString::fromUtf8(daemon_.readLine()).trimmed().section(QLatin1Char(','), 0, 0);
        }
    }

    void stop() {
        daemon_.kill();
        daemon_.waitForFinished();
    }

    /// Empty when the daemon could not be started.
    const QString& address() const { return address_; }
    qint64 processId() const { return daemon_.processId(); }

    /// Lets the bus start `command` for calls to that name. False: it cannot be written down.
    bool offer(const QString& service, const QByteArray& command) const {
        QFile file(folder_.filePath(service + QStringLiteral(".service")));
        return file.open(QIODevice::WriteOnly) &&
               file.write("[D-BUS Service]\nName=" + service.toUtf8() + "\nExec=" + command +
                          "\n") > 0;
    }

    QDBusConnection connect(const QString& name) const {
        return QDBusConnection::connectToBus(address_, name);
    }

  private:
    QTemporaryDir folder_;
    QProcess daemon_;
    QString address_;
};

} // namespace korvel
