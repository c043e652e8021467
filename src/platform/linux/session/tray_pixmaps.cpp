#include "platform/linux/session/tray_pixmaps.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include <QImage>
#include <QtEndian>

namespace korvel::platform {

namespace {

/// What panels draw, and 16 and 22 at twice the scale. Each is a picture of its own, because the
/// digits of one that is scaled are blurred. Some panels scale the largest all the same, most of
/// them to 22; so the largest is twice that.
constexpr int kSizes[] = {16, 18, 20, 22, 24, 28, 32, 44};

constexpr std::size_t kMostKept = 4; // of 23 KB each

TrayPixmap pixmapOf(const QImage& picture) {
    const int pixels = picture.width();
    const QImage image = picture.convertToFormat(QImage::Format_ARGB32);
    TrayPixmap pixmap{.width = pixels,
                      .height = pixels,
                      .bytes = QByteArray(image.sizeInBytes(), Qt::Uninitialized)};
    qToBigEndian<quint32>(image.constBits(), qsizetype{pixels} * pixels, pixmap.bytes.data());
    return pixmap;
}

} // namespace

const TrayPixmaps& TrayPixmapCache::of(const StatusTitle& title) {
    const auto found = std::find_if(kept_.begin(), kept_.end(), [&title](const Kept& kept) {
        return lookAlike(kept.title, title);
    });
    if (found != kept_.end()) {
        std::rotate(kept_.begin(), found, found + 1);
        return kept_.front().pixmaps;
    }
    TrayPixmaps pixmaps;
    for (const int pixels : kSizes) {
        pixmaps.append(pixmapOf(painter_.draw(title, pixels)));
    }
    if (kept_.size() == kMostKept) {
        kept_.pop_back();
    }
    kept_.insert(kept_.begin(), {title, std::move(pixmaps)});
    return kept_.front().pixmaps;
}

bool TrayPixmapCache::lookAlike(const StatusTitle& one, const StatusTitle& other) {
    return one.score == other.score && one.colour == other.colour && one.awake == other.awake;
}

} // namespace korvel::platform
