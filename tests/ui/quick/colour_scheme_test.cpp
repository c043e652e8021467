#include "ui/quick/colour_scheme.h"

#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QPalette>

namespace korvel {
namespace {

/// Says what it is told to.
class ToldAppearance final : public platform::Appearance {
  public:
    std::optional<bool> prefersDark() const override { return dark_; }
    double textScale() const override { return 1; }
    bool prefersContrast() const override { return false; }
    bool reducesMotion() const override { return false; }
    void follow(std::function<void()> changed) override { changed_ = std::move(changed); }

    void tell(std::optional<bool> dark) {
        dark_ = dark;
        changed_();
    }

  private:
    std::optional<bool> dark_;
    std::function<void()> changed_;
};

class Scheme : public testing::Test {
  protected:
    void SetUp() override { setGround(Qt::white); }
    void TearDown() override { setGround(Qt::white); }

    static void setGround(const QColor& colour) {
        QPalette palette;
        palette.setColor(QPalette::Window, colour);
        QGuiApplication::setPalette(palette);
        QCoreApplication::processEvents(); // which tell of it
    }

    ToldAppearance* appearance = new ToldAppearance; // the scheme's
    ColourScheme scheme{std::unique_ptr<platform::Appearance>(appearance)};
};

TEST_F(Scheme, FollowsThePreference) {
    int changes = 0;
    QObject::connect(&scheme, &ColourScheme::darkChanged, [&] { ++changes; });
    EXPECT_FALSE(scheme.dark());
    appearance->tell(true);
    EXPECT_TRUE(scheme.dark());
    appearance->tell(false);
    EXPECT_FALSE(scheme.dark());
    EXPECT_EQ(changes, 2);
}

TEST_F(Scheme, WithoutAPreferenceThePaletteCounts) {
    setGround(Qt::black);
    EXPECT_TRUE(scheme.dark());
    appearance->tell(false);
    EXPECT_FALSE(scheme.dark());
    appearance->tell(std::nullopt);
    EXPECT_TRUE(scheme.dark());
}

TEST_F(Scheme, APreferenceOutdoesThePalette) {
    appearance->tell(false);
    setGround(Qt::black);
    EXPECT_FALSE(scheme.dark());
}

TEST_F(Scheme, IsThePalettesWhereTheDesktopSaysNothing) {
    setGround(Qt::black);
    EXPECT_TRUE(ColourScheme().dark());
    setGround(Qt::white);
    EXPECT_FALSE(ColourScheme().dark());
}

} // namespace
} // namespace korvel
