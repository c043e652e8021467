#include "platform/linux/session/systemd_answers.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>

namespace korvel::platform {

std::vector<SystemdUnit> unitsIn(const QDBusMessage& answer) {
    std::vector<SystemdUnit> units;
    if (answer.type() != QDBusMessage::ReplyMessage ||
        answer.signature() != QLatin1String("a(ssssssouso)")) {
        return units;
    }
    const auto list = answer.arguments().constFirst().value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        QString name;
        QString description;
        QString loadState;
        QString activeState;
        QString subState;
        QString following;
        QDBusObjectPath path;
        list.beginStructure();
        list >> name >> description >> loadState >> activeState >> subState >> following >> path;
        list.endStructure();
        units.push_back({name.toStdString(), loadState.toStdString(), activeState.toStdString(),
                         subState.toStdString(), path.path().toStdString()});
    }
    list.endArray();
    return units;
}

QStringList waitersIn(const QDBusMessage& answer) {
    QStringList names;
    if (answer.type() == QDBusMessage::ReplyMessage && answer.signature() == QLatin1String("v")) {
        names = answer.arguments().constFirst().value<QDBusVariant>().variant().toStringList();
    }
    names.removeIf([](const QString& name) { return !isWaiter(name.toStdString()); });
    return names;
}

QString unitPath(const QString& name) {
    return QString::fromStdString(unitPath(name.toStdString()));
}

} // namespace korvel::platform
