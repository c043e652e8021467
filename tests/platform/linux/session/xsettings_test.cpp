#include "platform/linux/session/xsettings.h"

#include <cstdint>

#include <gtest/gtest.h>

#include <QByteArray>
#include <QtEndian>

namespace korvel::platform {
namespace {

/// Writes the form that daemons write.
class Property {
  public:
    explicit Property(bool big, std::uint32_t count) : big_(big) {
        bytes_ += QByteArray(1, big ? 1 : 0) + QByteArray(3, 0);
        number<std::uint32_t>(7);
        number(count);
    }

    Property& setting(std::uint8_t kind, const QByteArray& name) {
        number(kind);
        number<std::uint8_t>(0);
        number(static_cast<std::uint16_t>(name.size()));
        filled(name);
        number<std::uint32_t>(3);
        return *this;
    }
    Property& value(std::int32_t whole) {
        number(whole);
        return *this;
    }
    Property& value(const QByteArray& text) {
        number(static_cast<std::uint32_t>(text.size()));
        filled(text);
        return *this;
    }

    const QByteArray& bytes() const { return bytes_; }

  private:
    template <typename T>
    void number(T number) {
        const T ordered = big_ ? qToBigEndian(number) : qToLittleEndian(number);
        bytes_ += QByteArray(reinterpret_cast<const char*>(&ordered), sizeof(T));
    }
    void filled(const QByteArray& text) {
        bytes_ += text + QByteArray((4 - text.size() % 4) % 4, 0);
    }

    bool big_;
    QByteArray bytes_;
};

QByteArray three(bool big) {
    return Property(big, 3)
        .setting(1, "Gtk/FontName")
        .value(QByteArray("Größe 15"))
        .setting(2, "Some/Colour")
        .value(1)
        .value(2)
        .setting(0, "Gtk/EnableAnimations")
        .value(-1)
        .bytes();
}

const QVariantMap kThree{{QStringLiteral("Gtk/FontName"), QStringLiteral("Größe 15")},
                         {QStringLiteral("Gtk/EnableAnimations"), -1}};

TEST(Xsettings, AreReadInBothOrdersOfBytes) {
    EXPECT_EQ(xsettings(three(false)), kThree);
    EXPECT_EQ(xsettings(three(true)), kThree);
}

TEST(Xsettings, NumbersHaveASign) {
    EXPECT_EQ(xsettings(three(false))[QStringLiteral("Gtk/EnableAnimations")].toLongLong(), -1);
}

TEST(Xsettings, AreNoMoreThanTheirNumberSays) {
    const QByteArray bytes = Property(false, 1)
                                 .setting(0, "Gtk/EnableAnimations")
                                 .value(1)
                                 .setting(0, "Gtk/CursorBlink")
                                 .value(1)
                                 .bytes();
    EXPECT_EQ(xsettings(bytes), (QVariantMap{{QStringLiteral("Gtk/EnableAnimations"), 1}}));
}

TEST(Xsettings, WhatIsCutOffEndsThem) {
    const QByteArray whole = three(false);
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const QVariantMap some = xsettings(QByteArrayView(whole).first(length));
        EXPECT_FALSE(some.contains(QStringLiteral("Gtk/EnableAnimations"))) << length;
        for (auto it = some.begin(); it != some.end(); ++it) {
            EXPECT_EQ(it.value(), kThree.value(it.key())) << length;
        }
    }
}

TEST(Xsettings, AKindThatNobodyKnowsEndsThem) {
    const QByteArray bytes = Property(false, 3)
                                 .setting(0, "Gtk/EnableAnimations")
                                 .value(1)
                                 .setting(9, "Gtk/FontName")
                                 .setting(0, "Gtk/CursorBlink")
                                 .value(1)
                                 .bytes();
    EXPECT_EQ(xsettings(bytes), (QVariantMap{{QStringLiteral("Gtk/EnableAnimations"), 1}}));
}

TEST(Xsettings, LengthsBeyondTheEndAreNoHarm) {
    const QByteArray bytes =
        Property(false, 0xffffffff).setting(1, "Gtk/FontName").value(-1).bytes();
    EXPECT_EQ(xsettings(bytes), QVariantMap());
}

} // namespace
} // namespace korvel::platform
