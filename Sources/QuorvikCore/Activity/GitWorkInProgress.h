#pragma once

#include "QuorvikCore/JSON/RawValue.h"

#include <filesystem>
#include <optional>

namespace quorvik {

/// An operation of git's that stopped half-way, for a conflict or because it was told to.
enum class GitWorkInProgress { merge, rebase, cherryPick, revert };

template <>
inline constexpr std::array<std::string_view, 4> rawValues<GitWorkInProgress> = {"merge", "rebase",
                                                                                 "cherry-pick", "revert"};

/// The operation that the files in a git directory tell of: a repository's ".git", or, for a linked worktree,
/// the directory of its own that `git rev-parse --git-dir` names. A rebase comes before what it does inside.
/// Absent when there is none, or no such directory.
std::optional<GitWorkInProgress> detectGitWorkInProgress(const std::filesystem::path& gitDirectory);

} // namespace quorvik
