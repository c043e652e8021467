#include <cstdint>
#include <string>

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include "fuzz/fuzz.h"
#include "platform/linux/session/appearance_settings.h"
#include "platform/linux/session/xsettings.h"

namespace {

/// Writes the property as a daemon does, in the byte order that is asked for.
class Writer {
  public:
    explicit Writer(bool bigEndian) : big_(bigEndian) {
        number(bigEndian ? 1 : 0, 1);
        number(0, 3);
    }

    void number(std::uint32_t value, int size) {
        for (int i = 0; i < size; ++i) {
            const int place = big_ ? size - 1 - i : i;
            bytes_ += static_cast<char>(value >> (8 * place) & 0xff);
        }
    }

    void text(const QByteArray& text) {
        bytes_ += text;
        bytes_ += QByteArray((4 - text.size() % 4) % 4, '\0');
    }

    const QByteArray& bytes() const { return bytes_; }

  private:
    QByteArray bytes_;
    bool big_;
};

QByteArray written(const QVariantMap& settings, bool bigEndian) {
    Writer writer(bigEndian);
    writer.number(7, 4);
    writer.number(static_cast<std::uint32_t>(settings.size()), 4);
    for (auto it = settings.begin(); it != settings.end(); ++it) {
        const bool isNumber = it.value().typeId() == QMetaType::Int;
        const QByteArray name = it.key().toUtf8();
        writer.number(isNumber ? 0 : 1, 1);
        writer.number(0, 1);
        writer.number(static_cast<std::uint32_t>(name.size()), 2);
        writer.text(name);
        writer.number(7, 4);
        if (isNumber) {
            writer.number(static_cast<std::uint32_t>(it.value().toInt()), 4);
        } else {
            const QByteArray text = it.value().toString().toUtf8();
            writer.number(static_cast<std::uint32_t>(text.size()), 4);
            writer.text(text);
        }
    }
    return writer.bytes();
}

} // namespace

// Any property gives numbers and texts that stand in it; written again, in either order of bytes,
// it gives the same ones. What they ask of the looks is within reason.
void fuzz(std::string_view bytes) {
    const QVariantMap settings = korvel::platform::xsettings(
        QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
    qsizetype characters = 0;
    bool fits = true;
    for (auto it = settings.begin(); it != settings.end(); ++it) {
        require(it.value().typeId() == QMetaType::Int || it.value().typeId() == QMetaType::QString,
                "numbers and texts only");
        characters += it.key().size() + it.value().toString().size() *
                                            (it.value().typeId() == QMetaType::QString ? 1 : 0);
        fits = fits && it.key().toUtf8().size() <= 0xffff;
    }
    require(characters <= static_cast<qsizetype>(bytes.size()), "no more than the bytes can hold");
    for (const bool bigEndian : {false, true}) {
        require(!fits || korvel::platform::xsettings(written(settings, bigEndian)) == settings,
                "what was written is read again");
    }
    const auto looks = korvel::platform::x11AppearanceSettings(settings);
    require(looks.fontScale >= 1 && looks.fontScale <= 3 && looks.textScale == 1,
            "a scale that a popover can have");
    require(!looks.dark, "nothing is said of dark and light");
}
