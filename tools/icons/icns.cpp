#include "tools/icons/icns.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include <QBuffer>

namespace korvel {

namespace {

enum class Encoding { png, argb };

/// One entry of the file: its type, and the side of its picture in pixels.
struct Entry {
    std::string_view type;
    int side;
    Encoding encoding;
};

// Finder shows the two small ones of a bundle as noise when they are PNG; it takes all others as
// nothing else.
constexpr std::array kEntries = {
    Entry{"ic04", 16, Encoding::argb},  // 16
    Entry{"ic11", 32, Encoding::png},   // 16@2x
    Entry{"ic05", 32, Encoding::argb},  // 32
    Entry{"ic12", 64, Encoding::png},   // 32@2x
    Entry{"ic07", 128, Encoding::png},  // 128
    Entry{"ic13", 256, Encoding::png},  // 128@2x
    Entry{"ic08", 256, Encoding::png},  // 256
    Entry{"ic14", 512, Encoding::png},  // 256@2x
    Entry{"ic09", 512, Encoding::png},  // 512
    Entry{"ic10", 1024, Encoding::png}, // 512@2x
};

/// Empty when the picture cannot be encoded.
QByteArray asPng(const QImage& image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return image.save(&buffer, "PNG") ? bytes : QByteArray();
}

/// Runs of three to 130 equal bytes as two, what is between them as it is, up to 128 bytes at a
/// time.
void appendPacked(QByteArray& out, const std::vector<std::uint8_t>& bytes) {
    constexpr std::size_t kShortestRun = 3;
    constexpr std::size_t kLongestRun = 130;
    constexpr std::size_t kMostPlain = 128;
    const auto put = [&](std::size_t byte) { out.append(static_cast<char>(byte)); };
    const auto runAt = [&](std::size_t start) {
        std::size_t end = start;
        while (end < bytes.size() && bytes[end] == bytes[start] && end - start < kLongestRun) {
            ++end;
        }
        return end - start;
    };
    std::size_t next = 0;
    while (next < bytes.size()) {
        if (const std::size_t run = runAt(next); run >= kShortestRun) {
            put(0x80 + run - kShortestRun);
            put(bytes[next]);
            next += run;
            continue;
        }
        std::size_t end = next + 1;
        while (end < bytes.size() && end - next < kMostPlain && runAt(end) < kShortestRun) {
            ++end;
        }
        put(end - next - 1);
        for (; next < end; ++next) {
            put(bytes[next]);
        }
    }
}

/// The four channels one after the other, each packed for itself; colours not multiplied by alpha.
QByteArray asArgb(const QImage& image) {
    const QImage plain = image.convertToFormat(QImage::Format_ARGB32);
    QByteArray bytes("ARGB");
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        std::vector<std::uint8_t> channel;
        for (int y = 0; y < plain.height(); ++y) {
            for (int x = 0; x < plain.width(); ++x) {
                channel.push_back(static_cast<std::uint8_t>(plain.pixel(x, y) >> shift));
            }
        }
        appendPacked(bytes, channel);
    }
    return bytes;
}

/// A block of the file: its type, its length with these eight bytes, and what is in it.
void appendBlock(QByteArray& out, std::string_view type, const QByteArray& content) {
    out.append(type.data(), static_cast<qsizetype>(type.size()));
    const auto length = static_cast<std::uint32_t>(8 + content.size());
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        out.append(static_cast<char>(length >> shift));
    }
    out.append(content);
}

} // namespace

QByteArray icnsFile(const std::function<QImage(int side)>& draw) {
    QByteArray entries;
    for (const Entry& entry : kEntries) {
        const QImage icon = draw(entry.side);
        const QByteArray content = entry.encoding == Encoding::png ? asPng(icon) : asArgb(icon);
        if (content.isEmpty()) {
            return {};
        }
        appendBlock(entries, entry.type, content);
    }
    QByteArray file;
    appendBlock(file, "icns", entries);
    return file;
}

} // namespace korvel
