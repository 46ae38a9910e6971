#pragma once

#include "QuorvikCore/JSON/JSONValue.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quorvik {

/// The text is not a JSON document. what() is "Invalid JSON near byte " and the offset.
struct JSONParseError : std::runtime_error {
    explicit JSONParseError(std::ptrdiff_t failedAt);

    /// 0-based, in bytes; at most the length of the text.
    std::ptrdiff_t offset;
};

/// Reads and prints documents of users, so that a file read, edited and written back changes where it was
/// edited, and elsewhere only in white space and in which characters are escaped. Both are iterative: how
/// deep a document is nested costs heap, not stack.
namespace OrderedJSON {

/// Reads a whole document; throws JSONParseError, never gives a part of one.
///
/// Stricter than some settings files: no comments, no trailing commas, no byte order mark. Laxer than the
/// standard where refusing would only annoy: numbers may be anything strtod() reads that consists of digits,
/// signs, point and exponent ("+1", ".5", "007", "1e999"), and strings may hold control characters and bytes
/// that are not UTF-8, kept as they are. An escaped half of a surrogate pair becomes U+FFFD.
///
/// The offset of an error is the byte that does not fit, with these exceptions: the start of a misspelt
/// literal, the end of a misformed number, the backslash of a bad escape, the opening quote of a string that
/// is never closed.
JSONValue parse(std::string_view text);

/// Indentation makes a deeply nested text longer by the square of its depth: 100 kB of brackets would print
/// as 20 GB. This is the most line feeds and indentation that serialize() is ready to print, in bytes.
inline constexpr std::size_t maximumLayoutSize = std::size_t{1} << 30;

/// Prints one element or member a line, `indent` repeated for each level, "[]" and "{}" when empty, and no
/// line feed at the end. Escapes only what has to be: quote, backslash and control characters below U+0020.
///
/// Throws std::length_error, before printing anything, when the layout would exceed maximumLayoutSize.
std::string serialize(const JSONValue& value, std::string_view indent = "  ");

/// The first bytes of a printed text, and the length of all of it.
struct Excerpt {
    std::string text;          ///< may end in the middle of a character
    std::size_t totalSize = 0; ///< bytes
};

/// The first `limit` bytes of what serialize() would give, in time that grows with the document and not with
/// its indentation; there is no maximum.
Excerpt serializeStart(const JSONValue& value, std::size_t limit, std::string_view indent = "  ");

} // namespace OrderedJSON
} // namespace quorvik
