#include "platform/linux/session/systemd_unit.h"

#include <algorithm>

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>

namespace korvel::platform {

bool isInCharge(const QString& activeState) {
    return activeState == QLatin1String("active") || activeState == QLatin1String("activating") ||
           activeState == QLatin1String("reloading") || activeState == QLatin1String("refreshing");
}

bool isWaiting(const QString& activeState, const QString& subState) {
    return activeState == QLatin1String("active") &&
           (subState == QLatin1String("waiting") || subState == QLatin1String("running"));
}

bool isLoaded(const std::vector<SystemdUnit>& units) {
    if (units.empty()) {
        return false;
    }
    const SystemdUnit& service = units.front();
    return isInCharge(service.activeState) ||
           (service.loadState == QLatin1String("loaded") &&
            std::any_of(units.begin() + 1, units.end(), [](const SystemdUnit& unit) {
                return isWaiting(unit.activeState, unit.subState);
            }));
}

std::vector<SystemdUnit> unitsIn(const QDBusMessage& answer) {
    std::vector<SystemdUnit> units;
    if (answer.type() != QDBusMessage::ReplyMessage ||
        answer.signature() != QLatin1String("a(ssssssouso)")) {
        return units;
    }
    const auto list = answer.arguments().constFirst().value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        SystemdUnit unit;
        QString description;
        QString following;
        QDBusObjectPath path;
        list.beginStructure();
        list >> unit.name >> description >> unit.loadState >> unit.activeState >> unit.subState >>
            following >> path;
        list.endStructure();
        unit.path = path.path();
        units.push_back(unit);
    }
    list.endArray();
    return units;
}

QStringList waitersIn(const QDBusMessage& answer) {
    QStringList names;
    if (answer.type() == QDBusMessage::ReplyMessage && answer.signature() == QLatin1String("v")) {
        names = answer.arguments().constFirst().value<QDBusVariant>().variant().toStringList();
    }
    names.removeIf([](const QString& name) {
        return !name.endsWith(QLatin1String(".timer")) && !name.endsWith(QLatin1String(".path"));
    });
    return names;
}

QString unitPath(const QString& name) {
    QString path = QStringLiteral("/org/freedesktop/systemd1/unit/");
    constexpr int kHexadecimal = 16;
    bool first = true;
    for (const char byte : name.toUtf8()) {
        const bool digit = byte >= '0' && byte <= '9';
        const bool letter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
        if (letter || (digit && !first)) {
            path += QLatin1Char(byte);
        } else {
            path += QStringLiteral("_%1").arg(static_cast<unsigned char>(byte), 2, kHexadecimal,
                                              QLatin1Char('0'));
        }
        first = false;
    }
    return path;
}

} // namespace korvel::platform
