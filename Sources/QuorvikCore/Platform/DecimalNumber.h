#pragma once

#include <string_view>

namespace quorvik::Platform {

/// The double nearest to a decimal number as JSON writes it ("-1.5e3"); infinite when the number is too
/// large. The whole text must be the number. Works in the fastest way that the system's standard library has.
double decimalNumber(std::string_view text);

} // namespace quorvik::Platform
