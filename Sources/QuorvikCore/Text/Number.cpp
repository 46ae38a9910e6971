#include "QuorvikCore/Text/Number.h"

#include <cmath>
#include <cstdlib>
#include <string>

namespace quorvik::Number {

std::optional<double> finite(std::string_view text) {
    // strtod() would skip leading blanks and stop at a NUL; the locale is always "C".
    if (text.empty() || text.find_first_of(std::string_view(" \t\n\v\f\r\0", 7)) != text.npos)
        return std::nullopt;
    const std::string copy(text);
    char* end = nullptr;
    const double value = std::strtod(copy.c_str(), &end);
    if (end != copy.c_str() + copy.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

} // namespace quorvik::Number
