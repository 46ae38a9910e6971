#pragma once

#include <string>
#include <string_view>

namespace quorvik {

/// The text as XML, and markup made after its image (Pango's, that of notifications), takes it literally, in
/// the content of an element and in an attribute: & < > " ' become entities.
std::string markupEscaped(std::string_view text);

} // namespace quorvik
