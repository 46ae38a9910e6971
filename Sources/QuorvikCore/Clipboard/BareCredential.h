#pragma once

#include <string_view>

/// Recognises credentials without a telling prefix: the whole text must be one.
namespace quorvik::BareCredential {

/// Whether the text is a payment card's number: 13 to 19 digits whose Luhn sum is right, with blanks and
/// hyphens among them, at most 23 characters.
bool isCardNumber(std::string_view text);

/// Whether the text looks like an access token of unknown make: 24 to 512 ASCII letters, digits and "_-+/=.",
/// with at least one letter and one digit. Paths, web addresses, Git and SHA-256 hashes, UUIDs and dotted
/// names do not count.
bool isLongToken(std::string_view text);

} // namespace quorvik::BareCredential
