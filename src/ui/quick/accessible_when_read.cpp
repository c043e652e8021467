#include "ui/quick/accessible_when_read.h"

#include <set>

#include <QAccessibleObject>
#include <QString>

namespace korvel {

namespace {

/// Of an item that nobody reads. Qt owns it, and lets it go with the item.
class Silent final : public QAccessibleObject {
  public:
    explicit Silent(QObject* object) : QAccessibleObject(object) { all().insert(this); }

    QAccessibleInterface* parent() const override { return nullptr; }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QString text(QAccessible::Text) const override { return {}; }
    QAccessible::Role role() const override { return QAccessible::NoRole; }
    QAccessible::State state() const override { return {}; }

    static std::set<Silent*>& all() {
        static std::set<Silent*> known;
        return known;
    }

  private:
    ~Silent() override { all().erase(this); }
};

bool isRead = false;

QAccessibleInterface* silentOne(const QString& className, QObject* object) {
    if (isRead || object == nullptr || !className.contains(QLatin1String("_QML"))) {
        return nullptr;
    }
    return new Silent(object);
}

} // namespace

AccessibleWhenRead::AccessibleWhenRead() {
    isRead = QAccessible::isActive();
    QAccessible::installFactory(silentOne);
    QAccessible::installActivationObserver(this);
}

AccessibleWhenRead::~AccessibleWhenRead() {
    accessibilityActiveChanged(true);
    QAccessible::removeActivationObserver(this);
    QAccessible::removeFactory(silentOne);
}

void AccessibleWhenRead::accessibilityActiveChanged(bool active) {
    isRead = active;
    while (active && !Silent::all().empty()) {
        QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(*Silent::all().begin()));
    }
}

} // namespace korvel
