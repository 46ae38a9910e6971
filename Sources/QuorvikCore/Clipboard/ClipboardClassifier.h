#pragma once

#include "QuorvikCore/Clipboard/ClipboardAction.h"

#include <cstddef>
#include <optional>
#include <string_view>

/// Decides what the island offers for a copied text, in time that grows with the text's length and nothing
/// else, whatever the text.
namespace quorvik::ClipboardClassifier {

inline constexpr std::size_t maxBytes = 1'000'000; ///< a longer text is not looked at
inline constexpr std::size_t jsonLimit = 8192;     ///< bytes of indented JSON that are shown

/// Absent when there is nothing to offer. Secrets come first: a trace or a JSON document that contains one is
/// not offered for tidying. Bytes that are not UTF-8 count as U+FFFD.
std::optional<ClipboardAction> classify(std::string_view text);

/// The document that `text` is, when it is a JSON object or array (as OrderedJSON reads it) of at least 41
/// characters.
std::optional<JSONAction> formatJSON(std::string_view text);

} // namespace quorvik::ClipboardClassifier
