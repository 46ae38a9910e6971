#include "quorvik_overlay/View/Placement.h"

#include <algorithm>

namespace quorvik::Placement {

QRect at(QSize size, const QRect& available) {
    size = size.boundedTo(available.size());
    return {available.x() + (available.width() - size.width()) / 2, available.y(), size.width(),
            size.height()};
}

int pillWidth(int wanted, const QRect& available, int character) {
    return std::min({std::max(wanted, 20 * character), 64 * character, available.width()});
}

int listWidth(const QRect& available, int character) {
    return std::min(96 * character, available.width());
}

int cardWidth(const QRect& available, int character) {
    return std::min(92 * character, available.width());
}

int highest(const QRect& available) {
    return available.height() * 7 / 10;
}

} // namespace quorvik::Placement
