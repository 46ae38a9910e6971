#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Whether a property list can be handed to libplist without harm. The library reads and frees nested values
/// recursively, and a binary list may use one object in many places, each time as a copy: a hundred bytes of
/// arrays of the same arrays would fill any memory.
namespace quorvik::PropertyListGuard {

inline constexpr std::size_t maximumDepth = 200; ///< containers within containers

/// Bytes that the values of a binary list may take as copies: their text or data, and 16 for each value.
inline constexpr std::uint64_t maximumWeight = 64 * 1024 * 1024;

/// Binary lists ("bplist00…"): the trailer, the table of offsets and the references between objects are in
/// order, and the limits are kept. The format is that of Apple's CFBinaryPList.c (Core Foundation is open
/// source), which describes it in a comment.
bool isHarmlessBinary(std::string_view bytes);

/// XML lists: no deeper than the limit. Character data sections, declared document types and anything else
/// that could make tags look like text, which no program writes into a property list, are refused.
bool isHarmlessXML(std::string_view text);

} // namespace quorvik::PropertyListGuard
