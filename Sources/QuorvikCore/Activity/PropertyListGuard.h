#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Tells whether a property list can be handed to libplist without harm. The library frees and reads nested
/// values recursively: deep nesting overflows the stack. A binary list may refer to one object from many
/// places, and the library copies it each time: a hundred bytes of arrays of the same arrays would fill any
/// memory. In XML it resolves entities, and looks for repeated keys, in quadratic time.
namespace quorvik::PropertyListGuard {

inline constexpr std::size_t maximumDepth = 200; ///< containers within containers

/// Most bytes of memory that the values of a list may take, as a rough guess: 160 for each value and its text
/// or data, counted as often as the value is used.
inline constexpr std::uint64_t maximumWeight = 64 * 1024 * 1024;

/// Whether a binary list ("bplist00…") keeps the limits, and its trailer, its table of offsets and the
/// references between its objects are in order. The format is that of Apple's CFBinaryPList.c (Core
/// Foundation is open source), which describes it in a comment.
bool isHarmlessBinary(std::string_view bytes);

/// Whether an XML list keeps the limits, and reading it will not take long: some thousands of entities in one
/// text, or of keys in one dictionary, are too many. Refuses also whatever could make tags look like text
/// (character data sections, declared document types): no program writes it into a property list.
bool isHarmlessXML(std::string_view text);

} // namespace quorvik::PropertyListGuard
