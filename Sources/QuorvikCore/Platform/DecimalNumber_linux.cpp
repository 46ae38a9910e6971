#include "QuorvikCore/Platform/DecimalNumber.h"

#include <charconv>
#include <cstdlib>
#include <string>

namespace quorvik::Platform {

double decimalNumber(std::string_view text) {
    double value = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
    if (parsed.ec == std::errc()) return value;
    return std::strtod(std::string(text).c_str(), nullptr); // it tells too large from too small
}

} // namespace quorvik::Platform
