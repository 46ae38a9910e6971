#include "QuorvikCore/Text/HomePath.h"

namespace quorvik::HomePath {

std::string abbreviated(std::string_view path, std::string_view home) {
    const bool isBelow =
        !home.empty() && path.starts_with(home) && (path.size() == home.size() || path[home.size()] == '/');
    return isBelow ? "~" + std::string(path.substr(home.size())) : std::string(path);
}

} // namespace quorvik::HomePath
