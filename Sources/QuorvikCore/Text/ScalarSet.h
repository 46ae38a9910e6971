#pragma once

#include "QuorvikCore/Text/CharacterSet.h"

#include <string_view>

namespace quorvik {

/// A set of scalars: those of ASCII in a table, the others by a rule. For walking over long texts, most of
/// which are ASCII.
struct ScalarSet {
    CharacterSet ascii;
    bool (*others)(char32_t scalar); ///< asked for U+0080 and above

    bool contains(char32_t scalar) const {
        return scalar < 0x80 ? ascii.contains(static_cast<char>(scalar)) : others(scalar);
    }

    /// Takes members off the front of a text, at most `limit` of them; returns how many there were.
    std::size_t takeFirst(std::string_view& text, std::size_t limit = std::string_view::npos) const;

    /// Takes all members off the end of a text.
    void takeLast(std::string_view& text) const;
};

} // namespace quorvik
