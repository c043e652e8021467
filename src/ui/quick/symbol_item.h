#pragma once

#include <QtQmlIntegration>

#include "ui/quick/tinted_item.h"

namespace korvel {

/// One of the program's symbols, sized like text: `size` is that of the letters it stands beside.
class SymbolItem : public korvel::TintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(Symbol)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged FINAL)
    Q_PROPERTY(qreal size READ size WRITE setSize NOTIFY sizeChanged FINAL)
    Q_PROPERTY(bool bold READ bold WRITE setBold NOTIFY boldChanged FINAL)

  public:
    using TintedItem::TintedItem;

    QString name() const { return name_; }
    void setName(const QString& name) { set(name_, name, &SymbolItem::nameChanged); }
    qreal size() const { return size_; }
    void setSize(qreal size);
    bool bold() const { return bold_; }
    void setBold(bool bold) { set(bold_, bold, &SymbolItem::boldChanged); }

    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void nameChanged();
    void sizeChanged();
    void boldChanged();

  protected:
    void gridChanged() override;

  private:
    QString name_;
    qreal size_ = 0;
    bool bold_ = false;
};

} // namespace korvel
