// What an assistive tool would be told of the views, with and without one that listens.

#include <memory>

#include <gtest/gtest.h>

#include <QAccessible>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>

#include "ui/quick/accessible_when_read.h"

namespace korvel {
namespace {

class ReadItem : public testing::Test {
  protected:
    static constexpr auto kButton = "import QtQuick\n"
                                    "Item {\n"
                                    "    property int makesATypeOfItsOwn\n"
                                    "    Accessible.role: Accessible.Button\n"
                                    "    Accessible.name: 'Quit'\n"
                                    "}\n";

    ReadItem() {
        QQmlComponent component(&engine);
        component.setData(kButton, QUrl());
        item.reset(component.create());
    }
    ~ReadItem() override { QAccessible::setActive(false); }

    QAccessible::Role role() const {
        return QAccessible::queryAccessibleInterface(item.get())->role();
    }

    AccessibleWhenRead silence;
    QQmlEngine engine;
    std::unique_ptr<QObject> item;
};

TEST_F(ReadItem, SaysNothingWhileNobodyReads) {
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(role(), QAccessible::NoRole);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(item.get())->text(QAccessible::Name), "");
}

TEST_F(ReadItem, SaysWhatItIsFromTheMomentThatAToolComes) {
    EXPECT_EQ(role(), QAccessible::NoRole);
    QAccessible::setActive(true);
    EXPECT_EQ(role(), QAccessible::Button);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(item.get())->text(QAccessible::Name), "Quit");
}

TEST_F(ReadItem, StaysAsItIsWhenTheToolGoes) {
    QAccessible::setActive(true);
    EXPECT_EQ(role(), QAccessible::Button);
    QAccessible::setActive(false);
    EXPECT_EQ(role(), QAccessible::Button);
}

TEST_F(ReadItem, SaysWhatItIsToAToolThatComesAgain) {
    QAccessible::setActive(true);
    QAccessible::setActive(false);
    QQmlComponent component(&engine);
    component.setData(kButton, QUrl());
    item.reset(component.create());
    EXPECT_EQ(role(), QAccessible::NoRole);
    QAccessible::setActive(true);
    EXPECT_EQ(role(), QAccessible::Button);
}

TEST_F(ReadItem, MayGoBeforeAToolComes) {
    EXPECT_EQ(role(), QAccessible::NoRole);
    item.reset();
    QAccessible::setActive(true);
}

TEST_F(ReadItem, OfAClassOfQtIsLeftToQt) {
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nItem { Accessible.role: Accessible.Button }", QUrl());
    item.reset(component.create());
    EXPECT_EQ(role(), QAccessible::Button);
}

TEST(AnItem, SaysWhatItIsAgainOnceItIsNoLongerSilenced) {
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(
        "import QtQuick\nItem { property int own\nAccessible.role: Accessible.Button }", QUrl());
    const std::unique_ptr<QObject> item(component.create());
    const auto role = [&] { return QAccessible::queryAccessibleInterface(item.get())->role(); };
    {
        const AccessibleWhenRead silence;
        QAccessible::deleteAccessibleInterface(
            QAccessible::uniqueId(QAccessible::queryAccessibleInterface(item.get())));
        EXPECT_EQ(role(), QAccessible::NoRole);
    }
    EXPECT_EQ(role(), QAccessible::Button);
}

} // namespace
} // namespace korvel
