#pragma once

#include <functional>
#include <optional>

#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>

namespace korvel::platform {

/// Whether the desktop wants light text on dark ground, as its settings portal tells. The portal is
/// asked when it is there, never started.
class Appearance final : public QObject {
    Q_OBJECT

  public:
    Appearance();

    /// nullopt: the desktop does not say.
    std::optional<bool> dark() const { return dark_; }

  private:
    Q_SLOT void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

    void ask();
    void take(const QVariant& colorScheme);

    QDBusServiceWatcher watcher_;
    std::optional<bool> dark_;
};

} // namespace korvel::platform
