#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Whether a property list can be handed to libplist without harm. The library reads and frees nested values
/// recursively, and a binary list may use one object in many places, each time as a copy: a hundred bytes of
/// arrays of the same arrays would fill any memory. In XML it resolves entities, and looks for repeated keys,
/// in quadratic time.
namespace quorvik::PropertyListGuard {

inline constexpr std::size_t maximumDepth = 200; ///< containers within containers

/// Bytes of memory that the values of a list, each counted as often as it is used, may take at a rough guess:
/// their text or data, and 160 for each value.
inline constexpr std::uint64_t maximumWeight = 64 * 1024 * 1024;

/// Binary lists ("bplist00…"): the trailer, the table of offsets and the references between objects are in
/// order, and the limits are kept. The format is that of Apple's CFBinaryPList.c (Core Foundation is open
/// source), which describes it in a comment.
bool isHarmlessBinary(std::string_view bytes);

/// XML lists: the limits are kept, and no text holds so many entities, no dictionary so many keys (some
/// thousands), that reading would take long. Character data sections, declared document types and anything
/// else that could make tags look like text, which no program writes into a property list, are refused.
bool isHarmlessXML(std::string_view text);

} // namespace quorvik::PropertyListGuard
