#pragma once

#include <chrono>
#include <functional>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariant>

class QObject;

namespace korvel::platform {

/// What a call does when nobody on the bus owns the service's name.
enum class Activation {
    never,  ///< it fails
    allowed ///< the bus starts the service, where it knows how, and the call waits for it
};

/// One interface of an object that a service has on a bus. Nothing is asked of the bus to make one,
/// so a service that is not there is found out by a call: its answer is an error, as it is where
/// there is no bus.
class BusObject {
  public:
    using Answered = std::function<void(const QDBusMessage& answer)>;

    BusObject(const QDBusConnection& bus, QString service, QString path, QString interface,
              Activation activation = Activation::never);

    /// Calls and waits for the answer. When none has come after `patience` it is the error
    /// `QDBusError::NoReply`.
    QDBusMessage call(const char* method, const QVariantList& arguments,
                      std::chrono::milliseconds patience) const;

    /// The same for a property of the interface: the answer holds its value as a variant.
    QDBusMessage callProperty(const char* property, std::chrono::milliseconds patience) const;

    /// Calls without waiting. `answered` gets the answer, or the error, on a later turn of this
    /// thread's event loop, unless `context`, which lives on this thread, is gone by then.
    void ask(const char* method, const QVariantList& arguments, QObject& context,
             Answered answered) const;

    /// The same for a property.
    void askProperty(const char* property, QObject& context, Answered answered) const;

    /// Calls without waiting, and leaves the answer to nobody.
    void tell(const char* method, const QVariantList& arguments = {}) const;

    /// Whether the answer is the bus's word that nobody owns the service's name.
    static bool nobodyThere(const QDBusMessage& answer);

  private:
    QDBusMessage message(const char* method, const QVariantList& arguments) const;
    BusObject properties() const;

    QDBusConnection bus_;
    QString service_;
    QString path_;
    QString interface_;
    Activation activation_;
};

} // namespace korvel::platform
