#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Shows text that somebody decides upon: what would deceive the eye is replaced by an escape.
namespace quorvik::VisibleText {

/// Bytes of a text, from `begin` up to `end`.
struct Range {
    std::size_t begin = 0, end = 0;
    bool operator==(const Range&) const = default;
};

/// A text made visible, and the places of its escapes: a text may hold the same characters by itself.
struct Shown {
    std::string text;
    std::vector<Range> escapes; ///< in order, none empty
};

/// The text with an escape in place of
///  - control characters ("\n", "\t", "\r", "\x1b"), bytes that are not UTF-8 ("\xff"),
///  - what is not seen or turns the line around: formatting characters, joiners, fillers, line and paragraph
///    separators, variation selectors but those that follow a symbol ("\u{202E}"),
///  - blanks other than U+0020, the blank Braille pattern, what stands for an
///    object, and characters that Unicode does not assign or
///    leaves to others, which every font shows differently,
///  - combining marks with nothing to stand on, or with three before them already.
Shown show(std::string_view text);

/// show() without the places of the escapes.
std::string shown(std::string_view text);

/// JSON text for a terminal: the same value, in which what a terminal would obey, or what is not seen or
/// turns the line around, is written as JSON escapes ("\u009b", "\u202e").
std::string json(std::string_view text);

} // namespace quorvik::VisibleText
