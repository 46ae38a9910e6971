#pragma once

#include <string>
#include <string_view>

/// Paths as people write them.
namespace quorvik::HomePath {

/// "~/work" for a path below `home`, "~" for `home` itself, which has no slash at its end; other paths as
/// they are.
std::string abbreviated(std::string_view path, std::string_view home);

} // namespace quorvik::HomePath
