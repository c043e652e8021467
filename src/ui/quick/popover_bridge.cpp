#include "ui/quick/popover_bridge.h"

#include <cmath>
#include <string>
#include <utility>

namespace korvel {

namespace {

enum Role { nameRole = Qt::UserRole, detailRole };

int channel(double value) {
    return static_cast<int>(std::lround(value * 255));
}

QColor toQColor(const platform::Colour& colour) {
    return {channel(colour.red), channel(colour.green), channel(colour.blue)};
}

} // namespace

void FactorRows::setRows(std::vector<PopoverContent::Factor> rows) {
    if (rows.size() != rows_.size()) {
        beginResetModel();
        rows_ = std::move(rows);
        endResetModel();
    } else if (!rows.empty()) {
        rows_ = std::move(rows);
        Q_EMIT dataChanged(index(0), index(static_cast<int>(rows_.size()) - 1));
    }
}

int FactorRows::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant FactorRows::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    const PopoverContent::Factor& row = rows_.at(static_cast<std::size_t>(index.row()));
    switch (role) {
    case nameRole:
        return QString::fromStdString(row.name);
    case detailRole:
        return QString::fromStdString(row.detail);
    default:
        return {};
    }
}

QHash<int, QByteArray> FactorRows::roleNames() const {
    return {{nameRole, "name"}, {detailRole, "detail"}};
}

void PopoverBridge::setContent(const PopoverContent& content, bool dark) {
    dark_ = dark;
    score_ = QString::fromStdString(std::to_string(content.header.score));
    verdict_ = QString::fromStdString(content.header.verdict);
    color_ = toQColor(rgb(content.header.color));
    factors_.setRows(content.factors);
    Q_EMIT contentChanged();
}

} // namespace korvel
