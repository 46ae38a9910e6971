#pragma once

#include <string>
#include <string_view>

namespace quorvik {

/// The text as one word that every shell of the Bourne family takes literally: in single quotes, a single
/// quote of its own written as '\''.
std::string shellQuoted(std::string_view text);

} // namespace quorvik
