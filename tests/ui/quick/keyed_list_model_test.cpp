#include "ui/quick/keyed_list_model.h"

#include <algorithm>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvel {
namespace {

using Entry = KeyedListModel::Entry;
using testing::ElementsAre;
using testing::IsEmpty;

/// A view's idea of a list, kept by what the list tells, and a record of that.
class Watcher : public QObject {
  public:
    explicit Watcher(KeyedListModel& list) {
        connect(&list, &QAbstractItemModel::rowsInserted, this,
                [this](const QModelIndex&, int first, int last) {
                    for (int row = first; row <= last; ++row) {
                        rows.insert(rows.begin() + row, made_++);
                        told.push_back("insert");
                    }
                });
        connect(&list, &QAbstractItemModel::rowsRemoved, this,
                [this](const QModelIndex&, int first, int last) {
                    rows.erase(rows.begin() + first, rows.begin() + last + 1);
                    told.push_back("remove");
                });
        connect(&list, &QAbstractItemModel::rowsMoved, this,
                [this](const QModelIndex&, int first, int, const QModelIndex&, int to) {
                    std::rotate(rows.begin() + to, rows.begin() + first, rows.begin() + first + 1);
                    told.push_back("move");
                });
        connect(&list, &QAbstractItemModel::dataChanged, this,
                [this](const QModelIndex& first, const QModelIndex& last, const QList<int>&) {
                    for (int row = first.row(); row <= last.row(); ++row) {
                        told.push_back("change " + std::to_string(row));
                    }
                });
        connect(&list, &QAbstractItemModel::modelReset, this, [this] { told.push_back("reset"); });
    }

    std::vector<int> rows; ///< one number for each piece of the view, in the order of making
    std::vector<std::string> told;

  private:
    int made_ = 0;
};

std::vector<Entry> entries(const std::string& keys) {
    std::vector<Entry> list;
    for (const char key : keys) {
        list.push_back({QString(QLatin1Char(key)), QString(QLatin1Char(key))});
    }
    return list;
}

std::string keysOf(const KeyedListModel& list) {
    std::string keys;
    for (int row = 0; row < list.rowCount(); ++row) {
        keys += list.data(list.index(row), Qt::UserRole).toString().toStdString();
    }
    return keys;
}

class KeyedList : public testing::Test {
  protected:
    KeyedListModel list{KeyedListModel::Rows::own, nullptr};
    Watcher watcher{list};
};

TEST_F(KeyedList, TellsNothingOfAnEqualState) {
    list.setEntries(entries("abc"));
    watcher.told.clear();
    list.setEntries(entries("abc"));
    EXPECT_THAT(watcher.told, IsEmpty());
}

TEST_F(KeyedList, TellsOnlyOfTheRowsThatChanged) {
    list.setEntries(entries("abc"));
    watcher.told.clear();
    auto changed = entries("abc");
    changed[1].value = 2;
    list.setEntries(changed);
    EXPECT_THAT(watcher.told, ElementsAre("change 1"));
    EXPECT_EQ(list.data(list.index(1), Qt::UserRole), 2);
}

TEST_F(KeyedList, ItsOneRoleIsTheValue) {
    EXPECT_EQ(list.roleNames(), (QHash<int, QByteArray>{{Qt::UserRole, "value"}}));
}

TEST_F(KeyedList, ARowKeepsItsPieceWhereverItMoves) {
    list.setEntries(entries("abcd"));
    watcher.told.clear();
    list.setEntries(entries("dabc"));
    EXPECT_THAT(watcher.told, ElementsAre("move"));
    EXPECT_THAT(watcher.rows, ElementsAre(3, 0, 1, 2));
}

TEST_F(KeyedList, ARowThatIsGoneTakesItsPieceAlong) {
    list.setEntries(entries("abc"));
    watcher.told.clear();
    list.setEntries(entries("axc"));
    EXPECT_THAT(watcher.rows, ElementsAre(0, 3, 2)) << "b's button must not become x's";
    EXPECT_THAT(watcher.told, ElementsAre("remove", "insert"));
}

TEST_F(KeyedList, OfDoubledKeysTheFirstCounts) {
    list.setEntries(entries("aba"));
    EXPECT_EQ(keysOf(list), "ab");
}

TEST_F(KeyedList, AnyStateFollowsAnyOther) {
    std::mt19937 random(7);
    std::string keys = "abcdefgh";
    for (int round = 0; round < 2000; ++round) {
        std::shuffle(keys.begin(), keys.end(), random);
        const std::string shown = keys.substr(0, random() % (keys.size() + 1));
        list.setEntries(entries(shown));
        ASSERT_EQ(keysOf(list), shown);
        ASSERT_EQ(watcher.rows.size(), shown.size());
    }
}

TEST(KeyedListWithReusedRows, HandsARowOnToTheEntryThatComesInItsPlace) {
    KeyedListModel list(KeyedListModel::Rows::reused, nullptr);
    Watcher watcher(list);
    list.setEntries(entries("abc"));
    watcher.told.clear();
    // The same values under new identities: nothing to be seen.
    auto anew = entries("abc");
    for (Entry& entry : anew) {
        entry.key += QLatin1String("'");
    }
    list.setEntries(anew);
    EXPECT_THAT(watcher.told, IsEmpty());
    EXPECT_THAT(watcher.rows, ElementsAre(0, 1, 2));
    list.setEntries(entries("xy"));
    EXPECT_EQ(keysOf(list), "xy");
    EXPECT_THAT(watcher.rows, ElementsAre(0, 1));
}

TEST_F(KeyedList, HasNothingOutsideItsRows) {
    list.setEntries(entries("a"));
    EXPECT_FALSE(list.data(list.index(1), Qt::UserRole).isValid());
    EXPECT_FALSE(list.data(list.index(0), Qt::UserRole + 1).isValid());
    EXPECT_FALSE(list.data(list.index(0), Qt::DisplayRole).isValid());
    EXPECT_EQ(list.rowCount(list.index(0)), 0);
}

} // namespace
} // namespace korvel
