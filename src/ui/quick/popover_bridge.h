#pragma once

#include <QAbstractListModel>
#include <QColor>
#include <QObject>
#include <QString>
#include <QtQmlIntegration>

#include "ui/content/popover_content.h"

namespace korvel {

/// The factor lines as rows of a view.
class FactorRows : public QAbstractListModel {
    Q_OBJECT
    QML_ANONYMOUS

  public:
    using QAbstractListModel::QAbstractListModel;

    void setRows(std::vector<PopoverContent::Factor> rows);

    int rowCount(const QModelIndex& parent) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

  private:
    std::vector<PopoverContent::Factor> rows_;
};

/// Hands the views what they show, all of it finished: they lay out and paint.
class PopoverBridge : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the popover")
    Q_PROPERTY(QString score READ score NOTIFY contentChanged FINAL)
    Q_PROPERTY(QString verdict READ verdict NOTIFY contentChanged FINAL)
    Q_PROPERTY(QColor color READ color NOTIFY contentChanged FINAL)
    Q_PROPERTY(korvel::FactorRows* factors READ factors CONSTANT FINAL)
    Q_PROPERTY(bool dark READ dark NOTIFY contentChanged FINAL)

  public:
    void setContent(const PopoverContent& content, bool dark);

    QString score() const { return score_; }
    QString verdict() const { return verdict_; }
    QColor color() const { return color_; }
    FactorRows* factors() { return &factors_; }
    bool dark() const { return dark_; } ///< whether the desktop wants light text on dark ground

  Q_SIGNALS:
    void contentChanged();

  private:
    QString score_;
    QString verdict_;
    QColor color_;
    FactorRows factors_;
    bool dark_ = false;
};

} // namespace korvel
