#pragma once

#include "QuorvikCore/Clipboard/ClipboardAction.h"

#include <array>
#include <optional>
#include <string_view>

/// Colours as CSS writes them.
namespace quorvik::ColorLiteral {

/// Reads "#rgb", "#rgba", "#rrggbb" and "#rrggbbaa", and "rgb(…)", "rgba(…)", "hsl(…)" and "hsla(…)" in any
/// case. A function takes three numbers, separated by a comma or blanks, and perhaps a fourth after a comma
/// or slash. A number consists of ASCII digits and may have the unit "%" or "deg". Components outside their
/// range are moved into it. Absent unless the whole text is one colour.
std::optional<ColorAction> parseColor(std::string_view text);

/// Red, green and blue, each 0 to 1. `hue` in degrees, any finite number; the others 0 to 1.
std::array<double, 3> hslToRGB(double hue, double saturation, double lightness);

} // namespace quorvik::ColorLiteral
