#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusVirtualObject>
#include <QList>
#include <QStringList>
#include <QThread>

#include "platform/linux/session/private_bus.h"

namespace korvel {

/// A line of logind's list.
struct InhibitorRecord {
    QString what, who, why, mode;
    uint user = 0;
    uint process = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const InhibitorRecord& record);
const QDBusArgument& operator>>(const QDBusArgument& argument, InhibitorRecord& record);

} // namespace korvel

Q_DECLARE_METATYPE(korvel::InhibitorRecord)

namespace korvel {

/// How a service answers.
enum class Manner {
    grants,     ///< and says so when it is asked
    refuses,    ///< with an error
    hangs,      ///< no answer
    lies,       ///< grants, and says afterwards that nothing is held
    cannotTell, ///< grants, and has no method that says whether it does
};

/// What all services were asked for, in order: "service method argument...".
class PowerCalls {
  public:
    void note(const QString& call);
    QStringList all();
    /// Forgets them.
    QStringList taken();

  private:
    std::mutex mutex_;
    QStringList calls_;
};

/// A service that grants inhibitors, on a thread and a connection of its own, known by the last
/// part of its name. It ends with the object, as if it had crashed.
class FakePowerService {
  public:
    FakePowerService(const PrivateBus& bus, PowerCalls& calls, const QString& service,
                     Manner manner);
    FakePowerService(const FakePowerService&) = delete;
    FakePowerService& operator=(const FakePowerService&) = delete;
    ~FakePowerService();

    bool isRegistered() const { return registered_; }
    /// The connection of whoever asked last.
    QString asker() const;
    /// Whether nobody holds the descriptor any more that logind has handed out last.
    bool inhibitorIsClosed() const;

  private:
    class Object : public QDBusVirtualObject {
      public:
        Object(PowerCalls& calls, QString name, Manner manner);
        Object(const Object&) = delete;
        Object& operator=(const Object&) = delete;
        ~Object() override;

        QString introspect(const QString&) const override { return {}; }
        bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

        std::atomic<int> kept = -1; ///< logind's end of the descriptor
        std::mutex mutex;
        QString asker;

      private:
        QVariant answerTo(const QDBusMessage& message);
        QVariant inhibitor();
        QList<InhibitorRecord> inhibitors() const;

        PowerCalls& calls_;
        const QString name_;
        const Manner manner_;
        InhibitorRecord held_;
        uint cookie_ = 70;
    };

    const QString connection_;
    std::unique_ptr<Object> object_;
    QThread thread_;
    bool registered_ = false;
};

} // namespace korvel
