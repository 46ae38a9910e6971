#pragma once

#include <string>
#include <string_view>

namespace quorvik {

/// The SHA-256 digest of the bytes, as 64 hexadecimal digits in lower case. For telling whether two texts are
/// the same, as others who keep such digests do; not written to withstand measuring its time.
std::string sha256(std::string_view bytes);

} // namespace quorvik
