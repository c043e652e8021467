#include "platform/linux/session/dbus_menu.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include <QDBusError>

namespace korvel::platform {

namespace {

constexpr int kMenu = 0; ///< the number of the menu itself

/// An underscore marks the key of an entry, unless there are two.
QString label(const QString& text) {
    return QString(text).replace(QLatin1Char('_'), QLatin1String("__"));
}

} // namespace

DBusMenu::DBusMenu() {
    registerDBusMenuTypes();
}

void DBusMenu::exportOn(QDBusConnection bus, const QString& path) {
    bus.registerObject(path, this,
                       QDBusConnection::ExportScriptableSlots |
                           QDBusConnection::ExportScriptableSignals |
                           QDBusConnection::ExportScriptableProperties);
}

void DBusMenu::setEntries(std::vector<TrayMenuEntry> entries) {
    const bool sameShape =
        std::equal(entries.begin(), entries.end(), entries_.begin(), entries_.end(),
                   [](const TrayMenuEntry& one, const TrayMenuEntry& other) {
                       return one.text.isEmpty() == other.text.isEmpty();
                   });
    QList<MenuProperties> changed;
    for (std::size_t i = 0; sameShape && i < entries.size(); ++i) {
        if (entries[i].text != entries_[i].text) {
            changed.append({.id = static_cast<int>(i) + 1,
                            .properties = {{QStringLiteral("label"), label(entries[i].text)}}});
        }
    }
    entries_ = std::move(entries);
    if (!sameShape) {
        Q_EMIT LayoutUpdated(++revision_, kMenu);
    } else if (!changed.isEmpty()) {
        Q_EMIT ItemsPropertiesUpdated(changed, {});
    }
}

uint DBusMenu::GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                         MenuLayout& layout) {
    constexpr int kAll = -1;
    if (refuseUnknown(parentId)) {
        return 0;
    }
    if (recursionDepth < kAll) {
        sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("no such depth"));
        return 0;
    }
    layout = {.id = parentId, .properties = properties(parentId, propertyNames), .children = {}};
    for (int id = 1; parentId == kMenu && recursionDepth != 0 && known(id); ++id) {
        layout.children.append(
            {.id = id, .properties = properties(id, propertyNames), .children = {}});
    }
    return revision_;
}

QList<MenuProperties> DBusMenu::GetGroupProperties(const QList<int>& ids,
                                                   const QStringList& propertyNames) {
    QList<MenuProperties> found;
    for (int id = kMenu; known(id); ++id) {
        if (ids.isEmpty() || ids.contains(id)) {
            found.append({.id = id, .properties = properties(id, propertyNames)});
        }
    }
    return found;
}

QDBusVariant DBusMenu::GetProperty(int id, const QString& name) {
    if (refuseUnknown(id)) {
        return {};
    }
    const QVariant value = properties(id, {name}).value(name);
    if (!value.isValid()) {
        sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("no such property"));
    }
    return QDBusVariant(value);
}

void DBusMenu::Event(int id, const QString& eventId, const QDBusVariant&, uint) {
    if (!refuseUnknown(id)) {
        heed(id, eventId);
    }
}

QList<int> DBusMenu::EventGroup(const QList<MenuEvent>& events) {
    QList<int> unknown;
    for (const MenuEvent& event : events) {
        if (known(event.id)) {
            heed(event.id, event.event);
        } else {
            unknown.append(event.id);
        }
    }
    if (!unknown.isEmpty() && unknown.size() == events.size()) {
        refuseUnknown(unknown.front());
    }
    return unknown;
}

bool DBusMenu::AboutToShow(int id) {
    refuseUnknown(id);
    return false; // the host has been told of all that changed
}

QList<int> DBusMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors) {
    for (const int id : ids) {
        if (!known(id)) {
            idErrors.append(id);
        }
    }
    if (!idErrors.isEmpty() && idErrors.size() == ids.size()) {
        refuseUnknown(idErrors.front());
    }
    return {};
}

bool DBusMenu::known(int id) const {
    return id >= kMenu && static_cast<std::size_t>(id) <= entries_.size();
}

QVariantMap DBusMenu::properties(int id, const QStringList& names) const {
    QVariantMap all;
    if (id == kMenu) {
        all.insert(QStringLiteral("children-display"), QStringLiteral("submenu"));
    } else if (const QString& text = entries_[static_cast<std::size_t>(id) - 1].text;
               text.isEmpty()) {
        all.insert(QStringLiteral("type"), QStringLiteral("separator"));
    } else {
        all.insert(QStringLiteral("label"), label(text));
    }
    if (names.isEmpty()) {
        return all;
    }
    QVariantMap wanted;
    for (auto property = all.cbegin(); property != all.cend(); ++property) {
        if (names.contains(property.key())) {
            wanted.insert(property.key(), property.value());
        }
    }
    return wanted;
}

/// Answers the call with an error if there is no entry of that number; whether it did.
bool DBusMenu::refuseUnknown(int id) {
    if (known(id)) {
        return false;
    }
    sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("no entry %1").arg(id));
    return true;
}

void DBusMenu::heed(int id, const QString& event) {
    if (id != kMenu && event == QLatin1String("clicked")) {
        if (const auto& action = entries_[static_cast<std::size_t>(id) - 1].action) {
            QMetaObject::invokeMethod(this, action, Qt::QueuedConnection);
        }
    }
}

} // namespace korvel::platform
