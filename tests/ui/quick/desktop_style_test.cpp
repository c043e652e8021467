#include "ui/quick/desktop_style.h"

#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QJSValue>
#include <QPalette>
#include <QQmlComponent>
#include <QQmlEngine>

#include "ui/quick/register_views.h"

namespace korvel {
namespace {

/// Says what it is told to.
class ToldAppearance final : public platform::Appearance {
  public:
    std::optional<bool> prefersDark() const override { return dark; }
    double textScale() const override { return scale; }
    bool prefersContrast() const override { return contrast; }
    bool reducesMotion() const override { return still; }
    void follow(std::function<void()> changed) override { changed_ = std::move(changed); }

    void tell() { changed_(); }
    void tell(std::optional<bool> preference) {
        dark = preference;
        tell();
    }

    std::optional<bool> dark;
    double scale = 1;
    bool contrast = false;
    bool still = false;

  private:
    std::function<void()> changed_;
};

class Style : public testing::Test {
  protected:
    void SetUp() override { setGround(Qt::white); }
    void TearDown() override { setGround(Qt::white); }

    static void setGround(const QColor& colour) {
        QPalette palette;
        palette.setColor(QPalette::Window, colour);
        QGuiApplication::setPalette(palette);
        QCoreApplication::processEvents(); // which tell of it
    }

    ToldAppearance* appearance = new ToldAppearance; // the style's
    DesktopStyle style{std::unique_ptr<platform::Appearance>(appearance)};
};

TEST_F(Style, FollowsThePreference) {
    int changes = 0;
    QObject::connect(&style, &DesktopStyle::changed, [&] { ++changes; });
    EXPECT_FALSE(style.values().dark);
    appearance->tell(true);
    EXPECT_TRUE(style.values().dark);
    appearance->tell(false);
    EXPECT_FALSE(style.values().dark);
    EXPECT_EQ(changes, 2);
}

TEST_F(Style, WithoutAPreferenceThePaletteCounts) {
    setGround(Qt::black);
    EXPECT_TRUE(style.values().dark);
    appearance->tell(false);
    EXPECT_FALSE(style.values().dark);
    appearance->tell(std::nullopt);
    EXPECT_TRUE(style.values().dark);
}

TEST_F(Style, APreferenceOutdoesThePalette) {
    appearance->tell(false);
    setGround(Qt::black);
    EXPECT_FALSE(style.values().dark);
}

TEST_F(Style, IsThePalettesWhereTheDesktopSaysNothing) {
    setGround(Qt::black);
    EXPECT_TRUE(DesktopStyle().values().dark);
    setGround(Qt::white);
    EXPECT_FALSE(DesktopStyle().values().dark);
}

TEST_F(Style, FollowsSizeContrastAndMotion) {
    int changes = 0;
    QObject::connect(&style, &DesktopStyle::changed, [&] { ++changes; });
    EXPECT_EQ(style.values(), DesktopStyle::Values());
    appearance->scale = 1.5;
    appearance->tell();
    EXPECT_EQ(style.values().textScale, 1.5);
    appearance->contrast = true;
    appearance->tell();
    EXPECT_TRUE(style.values().highContrast);
    appearance->still = true;
    appearance->tell();
    EXPECT_FALSE(style.values().moves);
    appearance->tell();
    EXPECT_EQ(changes, 3);
}

TEST_F(Style, LooksAgainWhenItIsTold) {
    appearance->scale = 2; // which nothing told: the screen is another
    style.update();
    EXPECT_EQ(style.values().textScale, 2);
}

TEST_F(Style, IsWhatAnEnginesViewsFollow) {
    registerViews();
    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    style.giveTo(engine);
    QQmlComponent component(&engine);
    component.setData("import QtQml\nimport Korvel\n"
                      "QtObject { property var all: [Inks.dark, Inks.highContrast, Theme.moves] }",
                      {});
    const std::unique_ptr<QObject> views(component.create());
    ASSERT_TRUE(views) << component.errorString().toStdString();
    const auto seen = [&] { return views->property("all").value<QJSValue>().toVariant().toList(); };
    EXPECT_EQ(seen(), (QVariantList{false, false, true}));
    appearance->dark = true;
    appearance->contrast = true;
    appearance->still = true;
    appearance->tell();
    EXPECT_EQ(seen(), (QVariantList{true, true, false}));
    appearance->contrast = false;
    appearance->tell();
    EXPECT_EQ(seen(), (QVariantList{true, false, false}));
}

} // namespace
} // namespace korvel
