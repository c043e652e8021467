#pragma once

#include <optional>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>

class QDBusPendingCallWatcher;

namespace korvel {

/// Whether the desktop is dark, followed while the program runs: what the desktop portal says is
/// preferred, and without a portal, or while it knows no preference, what the palette looks like.
/// Asks the portal in the background, when it is there or as soon as it is, and never starts it;
/// until the answer comes the palette counts.
class ColourScheme : public QObject {
    Q_OBJECT

  public:
    explicit ColourScheme(const QDBusConnection& bus = QDBusConnection::sessionBus(),
                          QObject* parent = nullptr);

    bool dark() const { return dark_; }

  Q_SIGNALS:
    void darkChanged();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void ask();
    void answered(QDBusPendingCallWatcher* call);
    void prefer(const QVariant& portalValue);
    void update();

    QDBusConnection bus_;
    QDBusServiceWatcher watcher_;
    std::optional<bool> preference_;
    bool dark_ = false;

    Q_SLOT void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);
};

} // namespace korvel
