#pragma once

#include <optional>

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>

class QDBusPendingCallWatcher;

namespace korvel {

/// Whether the desktop is dark, followed while the program runs: what the desktop portal says is
/// preferred, and without a portal, or while it knows no preference, what the palette looks like.
/// Asks the portal in the background; until the answer comes the palette counts.
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
    void answered(QDBusPendingCallWatcher* call);
    void prefer(const QVariant& portalValue);
    void update();

    std::optional<bool> preference_;
    bool dark_ = false;

  private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);
};

} // namespace korvel
