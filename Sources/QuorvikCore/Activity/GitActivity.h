#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Which changes of the file system may be git's doing. Sits behind a file-system watcher that reports every
/// change in the user's home folder, so what is passed over must cost next to nothing.
namespace quorvik::GitActivity {

/// The root folder of the repository whose state a change of the file `path` may mean: a ref, or one of the
/// files directly in ".git" that git writes with every operation ("HEAD", "FETCH_HEAD"…). Absent for all
/// other files; outside `home` (an absolute path without a trailing slash); and for repositories below hidden
/// folders or those that hold other people's code and build products ("node_modules", "target"…), home's own
/// place not counted. Compares bytes; the file system is not asked. Allocates nothing but the result.
std::optional<std::string> repoRoot(std::string_view path, std::string_view home);

} // namespace quorvik::GitActivity
