#pragma once

#include <vector>

#include <QAbstractListModel>
#include <QByteArray>
#include <QString>
#include <QVariant>
#include <QtQmlIntegration>

namespace korvel {

/// A list for a view whose entries have an identity: a new state of it is told to the view as what
/// was removed, inserted, moved and changed, so that the pieces of the view that show the same
/// entry stay, with their focus and pointer. What is equal is not told at all. Its one role is
/// "value": all that the view shows of an entry.
class KeyedListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ANONYMOUS

  public:
    struct Entry {
        QString key; ///< the identity; of equal ones the first counts
        QVariant value;

        bool operator==(const Entry&) const = default;
    };

    /// What becomes of a row whose key is gone while another key has come.
    enum class Rows {
        own,   ///< it goes: a button in it must never come to stand for something else
        reused ///< it shows the new entry: for entries that are made anew each time
    };

    KeyedListModel(Rows rows, QObject* parent);

    void setEntries(std::vector<Entry> entries);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

  private:
    void removeMissing(const std::vector<Entry>& entries);
    /// Brings the row of that key to `row`, or makes one there.
    void place(int row, const Entry& entry);
    void change(int row, const Entry& entry);

    Rows rows_;
    std::vector<Entry> entries_;
};

} // namespace korvel
