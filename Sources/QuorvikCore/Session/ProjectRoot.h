#pragma once

#include <optional>
#include <string>

/// Which folder is the project that a working folder belongs to.
namespace quorvik::ProjectRoot {

/// The nearest folder, from `cwd` upwards, that holds one of the usual project files (".git",
/// "package.json"…). Absent outside `home`, at `home` itself, and when none of the first 8 folders has one.
std::optional<std::string> find(const std::string& cwd, const std::string& home);

/// The nearest folder, from `cwd` upwards, that holds ".git" (a folder, or the file of a linked worktree).
/// Absent when "/" or `home` is reached, and when none of the first 12 folders has it.
std::optional<std::string> gitRoot(const std::string& cwd, const std::string& home);

} // namespace quorvik::ProjectRoot
