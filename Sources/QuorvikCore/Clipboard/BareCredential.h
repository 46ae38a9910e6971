#pragma once

#include <string_view>

/// Credentials that are known by the whole of a text, not by how they begin.
namespace quorvik::BareCredential {

/// Whether the text is a payment card's number: 13 to 19 digits whose Luhn sum is right, with blanks and
/// hyphens among them, at most 23 characters.
bool isCardNumber(std::string_view text);

/// Whether the text is an access token of no known make: 24 to 512 letters, digits and "_-+/=.", with at
/// least one of either, that is no path, web address, Git or SHA-256 hash, UUID or dotted name.
bool isLongToken(std::string_view text);

} // namespace quorvik::BareCredential
