#pragma once

#include "QuorvikCore/Clipboard/ClipboardAction.h"

#include <array>
#include <optional>
#include <string_view>

/// Colours as CSS writes them.
namespace quorvik::ColorLiteral {

/// "#rgb", "#rgba", "#rrggbb" and "#rrggbbaa"; "rgb(…)", "rgba(…)", "hsl(…)" and "hsla(…)" in any case, with
/// three numbers, separated by a comma or blanks, and perhaps a fourth after a comma or slash; each may have
/// the unit "%" or "deg", and consists of ASCII digits. Components outside their range are moved into it.
/// Absent when the whole text is nothing of the kind.
std::optional<ColorAction> parseColor(std::string_view text);

/// Red, green and blue, each 0 to 1. `hue` in degrees, any finite number; the others 0 to 1.
std::array<double, 3> hslToRGB(double hue, double saturation, double lightness);

} // namespace quorvik::ColorLiteral
