#pragma once

#include "QuorvikApp/Model/Snapshot.h"

#include "QuorvikCore/JSON/RawValue.h"

#include <string>
#include <string_view>

/// The island in one line for status bars. Its texts come from agents and commands, and each bar takes
/// something else for markup, click actions or format codes, so they must be escaped for that bar.
namespace quorvik::BarLine {

enum class Format {
    waybar,     ///< `return-type: json`; text and tooltip are Pango markup
    i3blocks,   ///< `format=json` and `interval=persist`
    polybar,    ///< `tail = true`
    sketchybar, ///< a label, for `sketchybar --set NAME label="$line"`
    tmux,       ///< the output of `#(…)` in a format
    plain       ///< for people and everything else
};

/// The text as the bar shows it literally. `line` is one line without control characters
/// (Unicode::terminalLine).
std::string escaped(Format format, std::string_view line);

/// The line for that bar, without a line feed. Its text is empty when there is nothing to show.
std::string of(Format format, const Snapshot& snapshot);

} // namespace quorvik::BarLine

template <>
inline constexpr std::array<std::string_view, 6> quorvik::rawValues<quorvik::BarLine::Format> = {
    "waybar", "i3blocks", "polybar", "sketchybar", "tmux", "plain"};
