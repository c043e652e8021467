#include "ui/quick/popover_place.h"

#include <algorithm>

namespace korvel {

namespace {

constexpr int kGap = 4;           ///< points between the item and the popover
constexpr int kThickestPanel = 4; ///< it takes at most one in so many of the screen's length

} // namespace

QPoint placeAt(const QRect& anchor, QSize size, const QRect& free) {
    int x = anchor.center().x() - size.width() / 2;
    int y = anchor.bottom() + 1 + kGap;
    if (y + size.height() > free.bottom() + 1) {
        y = anchor.top() - kGap - size.height();
    }
    x = std::max(free.left() + kGap, std::min(x, free.right() + 1 - kGap - size.width()));
    y = std::max(free.top() + kGap, std::min(y, free.bottom() + 1 - kGap - size.height()));
    return {x, y};
}

QRect freeBeside(const QRect& panel, const QRect& screen, const QRect& free) {
    const bool lies = panel.width() >= panel.height();
    const bool thick = lies ? panel.height() * kThickestPanel > screen.height()
                            : panel.width() * kThickestPanel > screen.width();
    QRect left = free;
    if (panel.isEmpty() || thick) {
        return left;
    }
    if (lies && panel.center().y() < screen.center().y()) {
        left.setTop(std::max(free.top(), panel.bottom() + 1));
    } else if (lies) {
        left.setBottom(std::min(free.bottom(), panel.top() - 1));
    } else if (panel.center().x() < screen.center().x()) {
        left.setLeft(std::max(free.left(), panel.right() + 1));
    } else {
        left.setRight(std::min(free.right(), panel.left() - 1));
    }
    return left;
}

} // namespace korvel
