#include "ui/quick/keyed_list_model.h"

#include <algorithm>

namespace korvel {

namespace {

constexpr int kValueRole = Qt::UserRole;

auto withKey(const QString& key) {
    return [&key](const KeyedListModel::Entry& entry) { return entry.key == key; };
}

} // namespace

KeyedListModel::KeyedListModel(Rows rows, QObject* parent)
    : QAbstractListModel(parent), rows_(rows) {}

int KeyedListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(entries_.size());
}

QVariant KeyedListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || role != kValueRole) {
        return {};
    }
    return entries_[static_cast<std::size_t>(index.row())].value;
}

QHash<int, QByteArray> KeyedListModel::roleNames() const {
    return {{kValueRole, QByteArrayLiteral("value")}};
}

void KeyedListModel::setEntries(std::vector<Entry> entries) {
    // A key is one row: of entries with the same one all but the first are dropped.
    for (auto entry = entries.begin(); entry != entries.end();) {
        const bool doubled = std::any_of(entries.begin(), entry, withKey(entry->key));
        entry = doubled ? entries.erase(entry) : std::next(entry);
    }
    if (rows_ == Rows::own) {
        removeMissing(entries);
    }
    for (int row = 0; row < static_cast<int>(entries.size()); ++row) {
        place(row, entries[static_cast<std::size_t>(row)]);
    }
    if (entries_.size() > entries.size()) {
        beginRemoveRows({}, static_cast<int>(entries.size()),
                        static_cast<int>(entries_.size()) - 1);
        entries_.resize(entries.size());
        endRemoveRows();
    }
}

void KeyedListModel::removeMissing(const std::vector<Entry>& entries) {
    for (int row = static_cast<int>(entries_.size()) - 1; row >= 0; --row) {
        const auto old = entries_.begin() + row;
        if (std::none_of(entries.begin(), entries.end(), withKey(old->key))) {
            beginRemoveRows({}, row, row);
            entries_.erase(old);
            endRemoveRows();
        }
    }
}

void KeyedListModel::place(int row, const Entry& entry) {
    const auto here = entries_.begin() + row;
    const auto old = std::find_if(here, entries_.end(), withKey(entry.key));
    if (old == entries_.end()) {
        if (rows_ == Rows::reused && here != entries_.end()) {
            here->key = entry.key;
            change(row, entry);
            return;
        }
        beginInsertRows({}, row, row);
        entries_.insert(here, entry);
        endInsertRows();
        return;
    }
    if (old != here) {
        const int from = static_cast<int>(old - entries_.begin());
        beginMoveRows({}, from, from, {}, row);
        std::rotate(here, old, std::next(old));
        endMoveRows();
    }
    change(row, entry);
}

void KeyedListModel::change(int row, const Entry& entry) {
    Entry& shown = entries_[static_cast<std::size_t>(row)];
    if (shown.value != entry.value) {
        shown.value = entry.value;
        Q_EMIT dataChanged(index(row), index(row), {kValueRole});
    }
}

} // namespace korvel
