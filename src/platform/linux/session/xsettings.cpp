#include "platform/linux/session/xsettings.h"

#include <cstdint>
#include <optional>

#include <QString>
#include <QtEndian>

namespace korvel::platform {

namespace {

/// Reads on from the front. Once something was not there, nothing is.
class Reader {
  public:
    explicit Reader(QByteArrayView bytes) : left_(bytes) {}

    void setBigEndian(bool big) { big_ = big; }
    bool failed() const { return failed_; }

    QByteArrayView take(qsizetype count) {
        if (failed_ || count < 0 || count > left_.size()) {
            failed_ = true;
            return {};
        }
        const QByteArrayView taken = left_.first(count);
        left_ = left_.sliced(count);
        return taken;
    }

    template <typename T>
    T number() {
        const QByteArrayView bytes = take(sizeof(T));
        if (failed_) {
            return 0;
        }
        return big_ ? qFromBigEndian<T>(bytes.data()) : qFromLittleEndian<T>(bytes.data());
    }

    /// Filled up to a multiple of four bytes.
    QString text(qsizetype length) {
        constexpr qsizetype kUnit = 4;
        const QByteArrayView bytes = take(length);
        take((kUnit - length % kUnit) % kUnit);
        return QString::fromUtf8(bytes);
    }

  private:
    QByteArrayView left_;
    bool big_ = false;
    bool failed_ = false;
};

enum class Kind : std::uint8_t { number, text, colour };

} // namespace

QVariantMap xsettings(QByteArrayView property) {
    constexpr char kBigEndian = 1;
    constexpr qsizetype kOrderAndUnused = 4;
    constexpr qsizetype kColour = 8;
    Reader reader(property);
    const QByteArrayView order = reader.take(kOrderAndUnused);
    reader.setBigEndian(!order.isEmpty() && order.front() == kBigEndian);
    reader.number<std::uint32_t>(); // how often they were changed
    const auto count = reader.number<std::uint32_t>();
    QVariantMap settings;
    for (std::uint32_t i = 0; i < count && !reader.failed(); ++i) {
        const auto kind = static_cast<Kind>(reader.number<std::uint8_t>());
        reader.take(1);
        const QString name = reader.text(reader.number<std::uint16_t>());
        reader.number<std::uint32_t>(); // when this one was
        QVariant value;
        switch (kind) {
        case Kind::number:
            value = reader.number<std::int32_t>();
            break;
        case Kind::text:
            value = reader.text(reader.number<std::uint32_t>());
            break;
        case Kind::colour:
            reader.take(kColour);
            break;
        default: // as long as nobody knows
            return settings;
        }
        if (!reader.failed() && value.isValid()) {
            settings.insert(name, value);
        }
    }
    return settings;
}

} // namespace korvel::platform
