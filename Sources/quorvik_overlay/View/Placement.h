#pragma once

#include <QRect>
#include <QSize>

/// Where the overlay stands: at the top of a screen, in its middle.
namespace quorvik::Placement {

/// `available` is the part of the screen that the system leaves to windows: without bars, and on macOS
/// without the menu bar, which holds the notch. A size that does not fit is cut.
QRect at(QSize size, const QRect& available);

/// The widths of the shapes there, in pixels, for a font whose characters are so wide on average.
int pillWidth(int wanted, const QRect& available, int character);
int listWidth(const QRect& available, int character);
int cardWidth(const QRect& available, int character);

/// The height that a list or a card may have there.
int highest(const QRect& available);

} // namespace quorvik::Placement
