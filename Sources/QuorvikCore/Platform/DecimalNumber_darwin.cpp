#include "QuorvikCore/Platform/DecimalNumber.h"

#include <cstdlib>
#include <string>

namespace quorvik::Platform {

double decimalNumber(std::string_view text) {
    return std::strtod(std::string(text).c_str(), nullptr); // the locale of our programs is always "C"
}

} // namespace quorvik::Platform
