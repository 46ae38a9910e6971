#pragma once

#include "QuorvikCore/Platform/ByteBlock.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

/// Searches that look at a block of characters at once, for texts of megabytes.
namespace quorvik::Platform {

/// The first position from `at` on for which `holds` says "yes" in a block; the length of the text when there
/// is none. `holds(c)` gives a "yes" or "no" for each of the characters at `c`, of which it may look at the
/// `width - 1` that follow it too (`width` is at most 16). Near the end of the text NULs follow.
template <typename Holds>
std::size_t firstPosition(std::string_view text, std::size_t at, std::size_t width, Holds holds) {
    constexpr std::size_t block = blockSize, row = 4 * block;
    const char* const start = text.data();
    const std::size_t size = text.size();
    for (std::size_t near = at + row; at < near && at + block + width <= size; at += block)
        if (const ByteBlock found = holds(start + at); isAny(found)) return at + firstYes(found);
    while (at + row + width <= size) {
        const char* const c = start + at;
        if (isAny(holds(c) | holds(c + block) | holds(c + 2 * block) | holds(c + 3 * block))) break;
        at += row;
    }
    for (; at + block + width <= size; at += block)
        if (const ByteBlock found = holds(start + at); isAny(found)) return at + firstYes(found);
    std::array<char, 2 * block> padded{};
    while (at < size) {
        const std::size_t known = std::min(size - at, block + width);
        std::copy_n(start + at, known, padded.data());
        std::fill_n(padded.data() + known, block + width - known, '\0');
        if (const ByteBlock found = holds(padded.data()); isAny(found))
            return std::min(at + firstYes(found), size);
        at += block;
    }
    return size;
}

} // namespace quorvik::Platform
